// A card per running camera: its live picture with histogram, its exposure, a held still to compare with.
import { latestOnly, made, tryCommand } from './api.js';
import { html, render } from './vendor/lit-html.js';

function shutterText(seconds) {
  if (!(seconds > 0)) {
    return '–';
  }
  return seconds >= 0.3 ? `${seconds.toFixed(2)} s` : `1/${Math.round(1 / seconds)} s`;
}

function fNumber(iris) {
  return iris < 1 ? 'closed' : `F${((1.8 * 800) / iris).toFixed(1)}`;
}

/** Counts of 64 steps per channel, and the shares of pixels that are clipped. */
function histogramOf(pixels) {
  const counts = [new Float32Array(64), new Float32Array(64), new Float32Array(64)];
  let dark = 0;
  let bright = 0;
  for (let i = 0; i < pixels.length; i += 4) {
    const [r, g, b] = [pixels[i], pixels[i + 1], pixels[i + 2]];
    counts[0][r >> 2] += 1;
    counts[1][g >> 2] += 1;
    counts[2][b >> 2] += 1;
    dark += Math.max(r, g, b) <= 3 ? 1 : 0;
    bright += Math.max(r, g, b) >= 253 ? 1 : 0;
  }
  const total = pixels.length / 4;
  return { counts, dark: dark / total, bright: bright / total };
}

function drawHistogram(canvas, { counts, dark, bright }) {
  const context = canvas.getContext('2d');
  const { width, height } = canvas;
  context.clearRect(0, 0, width, height);
  const sorted = [...counts[0], ...counts[1], ...counts[2]].sort((a, b) => b - a);
  const top = Math.max(sorted[6], 1); // a few peaks may stick out
  const fill = (colour, points) => {
    context.fillStyle = colour;
    context.beginPath();
    points.forEach(([x, y]) => context.lineTo(x, y));
    context.fill();
  };
  context.globalCompositeOperation = 'lighter';
  ['#e0433b', '#35b04a', '#3f7df0'].forEach((colour, channel) => {
    const steps = [...counts[channel]].map((count) => height - Math.min(1, count / top) * (height - 4));
    fill(colour, [[0, height], ...steps.flatMap((y, i) => [[(i / 64) * width, y], [((i + 1) / 64) * width, y]]), [width, height]]);
  });
  context.globalCompositeOperation = 'source-over';
  for (const [x, step, share] of [[0, 14, dark], [width, -14, bright]]) { // a triangle in the corner where pixels are clipped
    if (share > 0.001) {
      fill('#ffd23f', [[x, 0], [x + step, 0], [x, 14]]);
    }
  }
}

class CameraCard {
  constructor(id, cameras, number = 0) {
    this.id = id;
    this.cameras = cameras;
    this.live = null; // the picture shown last and the held one, as bitmaps
    this.still = null;
    this.split = 50; // percent of the width that show the held one
    this.number = number; // of the present picture, as the server told, and of the one shown
    this.shown = -1;
    this.visible = true;
    this.picture = made(html`<canvas class="picture" width="640" height="480" role="img"></canvas>`);
    this.overlay = made(html`<canvas class="overlay" aria-hidden="true"></canvas>`);
    this.histogram = made(html`<canvas class="histogram" width="128" height="56" role="img"></canvas>`);
    this.frame = made(html`
      <div class="frame" @click=${() => cameras.measures() || this.enlarge()}>
        ${this.picture}${this.overlay}${this.histogram}
      </div>`);
    this.node = made(html`<article data-camera=${id} aria-label="Camera ${id}"></article>`);
    this.observer = new IntersectionObserver(([entry]) => { this.visible = entry.isIntersecting; });
    this.observer.observe(this.node);
    this.sampler = new OffscreenCanvas(160, 120).getContext('2d', { willReadFrequently: true });
    this.sampler.imageSmoothingEnabled = false;
    this.refresh = latestOnly(() => this.fetchPicture());
  }

  close() {
    this.visible = false;
    this.observer.disconnect();
  }

  get selected() {
    return this.cameras.selected === this.id;
  }

  get large() {
    return this.cameras.enlarged && this.selected;
  }

  enlarge() {
    this.cameras.select(this.id, !this.large);
  }

  tell(number) {
    this.shown = number < this.number ? -1 : this.shown; // another program serves now
    this.number = number;
    this.refresh();
  }

  /** Fetches the picture if the server told of a newer one, or if another width is wanted. */
  async fetchPicture() {
    const space = this.frame.clientWidth * Math.min(devicePixelRatio, 2);
    const width = Math.min(1280, Math.max(320, Math.ceil(space / 160) * 160));
    const wanted = this.number > 0 && (this.shown < this.number || width !== this.width);
    if (!wanted || !this.visible || document.visibilityState !== 'visible') {
      return;
    }
    const response = await fetch(`api/cameras/${this.id}/picture.jpg?width=${width}`).catch(() => null);
    const content = await response?.blob().catch(() => null);
    if (!response?.ok || !content) {
      return; // the next state asks again
    }
    this.width = width;
    this.shown = Number(response.headers.get('ETag').slice(1, -1));
    const bitmap = await createImageBitmap(content);
    this.live?.close();
    this.live = bitmap;
    this.draw();
    this.cameras.onPicture();
    this.sampler.drawImage(bitmap, 0, 0, 160, 120);
    const histogram = histogramOf(this.sampler.getImageData(0, 0, 160, 120).data);
    drawHistogram(this.histogram, histogram);
    const percent = (share) => `${(share * 100).toFixed(1)} %`;
    this.histogram.title = `clipped: dark ${percent(histogram.dark)}, bright ${percent(histogram.bright)}`;
    this.histogram.ariaLabel = `Histogram, ${this.histogram.title}`;
  }

  draw() {
    const { picture, live, still } = this;
    if (!live) {
      return;
    }
    if (picture.width !== live.width) {
      picture.width = live.width;
      picture.height = live.height;
    }
    const context = picture.getContext('2d');
    context.drawImage(live, 0, 0);
    if (still) {
      const part = this.split / 100;
      const x = Math.round(picture.width * part);
      context.drawImage(still, 0, 0, still.width * part, still.height, 0, 0, x, picture.height);
      context.fillStyle = '#fff';
      context.fillRect(x - 1, 0, 2, picture.height);
    }
  }

  async toggleHold() {
    if (this.still) {
      this.still.close();
      this.still = null;
    } else if (this.live) {
      this.still = await createImageBitmap(this.live);
    }
    this.render();
    this.draw();
  }

  render() {
    const { id, state, large, still } = this;
    const size = large ? 'large' : this.cameras.enlarged ? 'small' : '';
    this.node.className = `camera card ${this.selected ? 'selected' : ''} ${size}`;
    const luma = `${state.luma.toFixed(0)} of ${state.target.toFixed(0)}${state.at_limit ? ', at its limit' : ''}`;
    this.picture.ariaLabel = `Live picture: ${shutterText(state.time)}, gain ${state.gain.toFixed(1)}, luma ${luma}`;
    const figures = [
      ['time', 'Exposure time', shutterText(state.time)],
      ['gain', 'Analogue times digital gain', `×${state.gain.toFixed(2)}`],
      ['luma', 'Measured luma and its target', luma],
      ['R / B', 'White-balance gains', `${state.red_gain.toFixed(2)} / ${state.blue_gain.toFixed(2)}`],
      ['light', 'Colour temperature of the light', `${Math.round(state.illuminant)} K`],
      ...(state.iris === null ? [] : [
        ['iris', 'Aperture', fNumber(state.iris)],
        ['zoom', 'Position of the zoom, motor steps', Math.round(state.zoom)],
      ]),
    ];
    const enlarge = large ? 'Shrink' : 'Enlarge';
    render(html`
      ${this.frame}
      <div class="camera-head">
        <button type="button" class="name" title="Show the controls of this camera"
          @click=${() => this.cameras.select(id)}>${`Camera ${id}`}</button>
        <span class="chip">${state.state === 'running' ? this.cameras.modeName(state.exposure_mode) : state.state}</span>
        <span class="buttons">
          <button type="button" aria-pressed=${Boolean(still)} aria-label="Hold picture of camera ${id}"
            @click=${() => this.toggleHold()}>Hold</button>
          <button type="button" class="enlarge" aria-pressed=${large} aria-label="${enlarge} camera ${id}"
            @click=${() => this.enlarge()}>${enlarge}</button>
        </span>
      </div>
      <div class="split-row" ?hidden=${!still}>
        held
        <input type="range" class="split" aria-label="Camera ${id}: held picture on the left, live picture on the right"
          @input=${(event) => { this.split = event.target.value; this.draw(); }}>
        live
      </div>
      <dl class="figures">
        ${figures.map(([label, hint, text]) => html`<div title=${hint}><dt>${label}</dt><dd>${text}</dd></div>`)}
      </dl>
      <div class="meter" title="Luma, and the target as a mark">
        <i .style=${`width: ${(state.luma / 255) * 100}%`}></i><b .style=${`left: ${(state.target / 255) * 100}%`}></b>
      </div>`, this.node);
  }
}

export class Cameras {
  constructor({ onSelect, onPicture, modeName, measures }) {
    this.cards = new Map();
    this.numbers = new Map();
    this.enlarged = false; // the selected one
    this.selected = null;
    Object.assign(this, { onSelect, onPicture, modeName, measures });
    this.empty = made(html`
      <div class="empty card">
        <p>No camera runs.</p>
        <button type="button" class="primary" @click=${() => tryCommand('start 0 1 2 3')}>Start cameras 0 to 3</button>
      </div>`);
  }

  /** What stands in their place: the cards in order. */
  nodes() {
    const cards = [...this.cards.values()].sort((a, b) => a.id - b.id);
    return this.told && cards.length === 0 ? [this.empty] : cards.map((card) => card.node);
  }

  show(states) {
    this.told = true;
    for (const state of states) {
      if (state.state === 'none') {
        this.cards.get(state.id)?.close();
        this.cards.delete(state.id);
        continue;
      }
      const card = this.cards.get(state.id) ?? new CameraCard(state.id, this, this.numbers.get(state.id));
      this.cards.set(state.id, card);
      card.state = state;
      card.render();
      card.refresh();
    }
  }

  /** A picture's number, per camera; one of a camera that no state had is told by the card's next state. */
  tell(numbers) {
    for (const [id, number] of Object.entries(numbers)) {
      this.numbers.set(Number(id), number);
      this.cards.get(Number(id))?.tell(number);
    }
  }

  select(id, enlarged = this.enlarged) {
    this.selected = id;
    this.enlarged = enlarged;
    this.cards.forEach((card) => card.render());
    if (enlarged) {
      this.cards.get(id)?.node.scrollIntoView({ block: 'nearest' });
    }
    this.onSelect(id);
  }
}
