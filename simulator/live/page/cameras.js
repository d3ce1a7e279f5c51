// A card per running camera: its live picture with histogram, its exposure, a held still to compare with.
import { element, latestOnly } from './api.js';

export function shutterText(seconds) {
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
  context.globalCompositeOperation = 'lighter';
  ['#e0433b', '#35b04a', '#3f7df0'].forEach((colour, channel) => {
    context.fillStyle = colour;
    context.beginPath();
    context.moveTo(0, height);
    counts[channel].forEach((count, i) => {
      const y = height - Math.min(1, count / top) * (height - 4);
      context.lineTo((i / 64) * width, y);
      context.lineTo(((i + 1) / 64) * width, y);
    });
    context.lineTo(width, height);
    context.fill();
  });
  context.globalCompositeOperation = 'source-over';
  const mark = (x, step, share) => { // a triangle in the corner where pixels are clipped
    if (share > 0.001) {
      context.fillStyle = '#ffd23f';
      context.beginPath();
      context.moveTo(x, 0);
      context.lineTo(x + step, 0);
      context.lineTo(x, Math.abs(step));
      context.fill();
    }
  };
  mark(0, 14, dark);
  mark(width, -14, bright);
}

class CameraCard {
  constructor(id, actions) {
    this.id = id;
    this.live = null; // the picture shown last and the held one, as bitmaps
    this.still = null;
    this.number = 0; // of the present picture, as the server told, and of the one shown
    this.shown = -1;
    this.visible = true;
    this.picture = element('canvas', { className: 'picture', width: 640, height: 480, role: 'img' });
    this.overlay = element('canvas', { className: 'overlay', ariaHidden: 'true' });
    this.histogram = element('canvas', { className: 'histogram', width: 128, height: 56, role: 'img' });
    this.name = element('button', {
      type: 'button', className: 'name', onclick: () => actions.select(id), title: 'Show the controls of this camera',
    }, `Camera ${id}`);
    this.mode = element('span', { className: 'chip' });
    this.enlarge = element('button', {
      type: 'button', className: 'enlarge', onclick: () => actions.enlarge(id), 'aria-pressed': 'false',
      ariaLabel: `Enlarge camera ${id}`,
    }, 'Enlarge');
    this.hold = element('button', {
      type: 'button', onclick: () => this.toggleHold(), 'aria-pressed': 'false', ariaLabel: `Hold picture of camera ${id}`,
    }, 'Hold');
    this.split = element('input', {
      type: 'range', className: 'split', min: 0, max: 100, value: 50, oninput: () => this.draw(),
      'aria-label': `Camera ${id}: held picture on the left, live picture on the right`,
    });
    this.splitRow = element('div', { className: 'split-row', hidden: true }, 'held', this.split, 'live');
    this.figures = {};
    const figure = (key, label, hint) => {
      this.figures[key] = element('dd', {}, '–');
      return element('div', { title: hint }, element('dt', {}, label), this.figures[key]);
    };
    this.meter = element('i');
    this.target = element('b');
    this.frame = element('div', {
      className: 'frame', onclick: () => document.body.dataset.tool || actions.enlarge(id),
    }, this.picture, this.overlay, this.histogram);
    this.node = element('article', { className: 'camera card', 'aria-label': `Camera ${id}` },
      this.frame,
      element('div', { className: 'camera-head' }, this.name, this.mode,
        element('span', { className: 'buttons' }, this.hold, this.enlarge)),
      this.splitRow,
      element('dl', { className: 'figures' },
        figure('time', 'time', 'Exposure time'), figure('gain', 'gain', 'Analogue times digital gain'),
        figure('luma', 'luma', 'Measured luma and its target'), figure('wb', 'R / B', 'White-balance gains'),
        figure('light', 'light', 'Colour temperature of the light'), figure('iris', 'iris', 'Aperture'),
        figure('zoom', 'zoom', 'Position of the zoom, motor steps')),
      element('div', { className: 'meter', title: 'Luma, and the target as a mark' }, this.meter, this.target));
    this.node.dataset.camera = id;
    this.observer = new IntersectionObserver(([entry]) => { this.visible = entry.isIntersecting; });
    this.observer.observe(this.node);
    this.sampler = new OffscreenCanvas(160, 120).getContext('2d', { willReadFrequently: true });
    this.sampler.imageSmoothingEnabled = false;
    this.refresh = latestOnly(() => this.fetchPicture());
  }

  close() {
    this.visible = false;
    this.observer.disconnect();
    this.node.remove();
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
    this.node.dispatchEvent(new CustomEvent('picture', { bubbles: true }));
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
      const part = this.split.value / 100;
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
    this.hold.setAttribute('aria-pressed', String(Boolean(this.still)));
    this.splitRow.hidden = !this.still;
    this.draw();
  }

  show(state, modeName) {
    const { figures } = this;
    this.refresh();
    this.mode.textContent = state.state === 'running' ? modeName : state.state;
    figures.time.textContent = shutterText(state.time);
    figures.gain.textContent = `×${state.gain.toFixed(2)}`;
    figures.luma.textContent =
      `${state.luma.toFixed(0)} of ${state.target.toFixed(0)}${state.at_limit ? ', at its limit' : ''}`;
    figures.wb.textContent = `${state.red_gain.toFixed(2)} / ${state.blue_gain.toFixed(2)}`;
    figures.light.textContent = `${Math.round(state.illuminant)} K`;
    for (const key of ['iris', 'zoom']) {
      figures[key].parentNode.hidden = state[key] === null;
    }
    if (state.iris !== null) {
      figures.iris.textContent = fNumber(state.iris);
      figures.zoom.textContent = Math.round(state.zoom);
    }
    this.meter.style.width = `${(state.luma / 255) * 100}%`;
    this.target.style.left = `${(state.target / 255) * 100}%`;
    this.picture.ariaLabel = `Live picture: ${figures.time.textContent}, gain ${state.gain.toFixed(1)}, ` +
      `luma ${figures.luma.textContent}`;
  }

  setLarge(large, others) {
    this.node.classList.toggle('large', large);
    this.node.classList.toggle('small', others);
    this.enlarge.setAttribute('aria-pressed', String(large));
    this.enlarge.textContent = large ? 'Shrink' : 'Enlarge';
    this.enlarge.ariaLabel = `${this.enlarge.textContent} camera ${this.id}`;
    this.refresh();
  }
}

export class Cameras {
  constructor(node, { onSelect, modeName, onStart }) {
    this.node = node;
    this.cards = new Map();
    this.numbers = new Map();
    this.enlarged = false; // the selected one
    this.selected = null;
    this.onSelect = onSelect;
    this.modeName = modeName;
    this.empty = element('div', { className: 'empty card' },
      element('p', {}, 'No camera runs.'),
      element('button', { type: 'button', className: 'primary', onclick: () => onStart([0, 1, 2, 3]) },
        'Start cameras 0 to 3'));
  }

  show(states) {
    for (const state of states) {
      const there = this.cards.get(state.id);
      if (state.state === 'none') {
        there?.close();
        this.cards.delete(state.id);
        continue;
      }
      if (!there) {
        const card = new CameraCard(state.id, {
          select: (id) => this.select(id),
          enlarge: (id) => this.select(id, !(this.enlarged && id === this.selected)),
        });
        card.number = this.numbers.get(state.id) ?? 0;
        this.cards.set(state.id, card);
        const later = [...this.node.children].find((child) => Number(child.dataset.camera) > state.id);
        this.node.insertBefore(card.node, later ?? null);
      }
      this.cards.get(state.id).show(state, this.modeName(state.exposure_mode));
    }
    this.empty.remove();
    if (this.cards.size === 0) {
      this.node.append(this.empty);
    }
    this.node.classList.toggle('single', this.cards.size === 1);
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
    for (const [other, card] of this.cards) {
      card.node.classList.toggle('selected', other === id);
      card.setLarge(enlarged && other === id, enlarged && other !== id);
    }
    if (enlarged) {
      this.cards.get(id)?.node.scrollIntoView({ block: 'nearest' });
    }
    this.onSelect(id);
  }
}
