// A rectangle on the pictures whose figures are shown live, beside those of the held picture; a loupe under the pointer;
// sweeps over settings, measured in the rectangle.
import { made, putSetting, say, sweep } from './api.js';
import { html, render } from './vendor/lit-html.js';

const WIDTH = 640; // of the picture that commands measure
const HEIGHT = 480;
const LOUPE = 33; // pixels of the picture at 4 : 1
const FIGURES = ['red', 'green', 'blue', 'luma', 'noise', 'S/N, dB', 'clipped, %', 'black, %'];

/** Figures of a region of a bitmap, in levels of 255. */
function figuresOf(bitmap, region) {
  const [x, y, w, h] = region.map((value) => Math.round(value * bitmap.width / WIDTH));
  const [width, height] = [Math.max(1, w), Math.max(1, h)];
  const context = new OffscreenCanvas(width, height).getContext('2d', { willReadFrequently: true });
  context.drawImage(bitmap, -x, -y);
  const { data } = context.getImageData(0, 0, width, height);
  const sum = [0, 0, 0, 0, 0, 0, 0]; // red, green, blue, luma, its square, clipped, black
  for (let i = 0; i < data.length; i += 4) {
    const [r, g, b] = [data[i], data[i + 1], data[i + 2]];
    const luma = 0.2126 * r + 0.7152 * g + 0.0722 * b;
    const most = Math.max(r, g, b);
    [r, g, b, luma, luma * luma, most === 255, most === 0].forEach((value, k) => { sum[k] += Number(value); });
  }
  const [r, g, b, luma, square, clipped, black] = sum.map((value) => value / (width * height));
  const noise = Math.sqrt(Math.max(0, square - luma * luma));
  const snr = noise > 0 && luma > 0 ? 20 * Math.log10(luma / noise) : NaN;
  return [r, g, b, luma, noise, snr, 100 * clipped, 100 * black];
}

export class Measuring {
  constructor(cameras) {
    this.cameras = cameras;
    this.on = false;
    this.region = [256, 192, 128, 96]; // left, top, width and height in the picture that commands measure
    this.zoom = 4;
    this.pixel = 'point at the picture';
    this.loupe = made(html`<canvas class="loupe" width="132" height="132" role="img" aria-label="Loupe"></canvas>`);
    this.node = made(html`<section class="card" aria-label="Measuring" id="measure-card"></section>`);
    this.pointer = this.pointer.bind(this);
    this.show();
  }

  toggle() {
    this.on = !this.on;
    this.show();
  }

  get card() {
    return this.cameras.cards.get(this.cameras.selected);
  }

  pointer(event) {
    const { card } = this;
    if (!this.on || !card?.frame.contains(event.target)) {
      return;
    }
    const box = card.picture.getBoundingClientRect();
    const at = {
      x: Math.min(1, Math.max(0, (event.clientX - box.left) / box.width)),
      y: Math.min(1, Math.max(0, (event.clientY - box.top) / box.height)),
    };
    this.look(card, at);
    if (event.type === 'pointerdown') {
      card.frame.setPointerCapture(event.pointerId);
      card.frame.style.touchAction = 'none';
      this.from = at;
    } else if (this.from) {
      const { from } = this;
      this.setRegion(Math.min(at.x, from.x) * WIDTH, Math.min(at.y, from.y) * HEIGHT,
        Math.abs(at.x - from.x) * WIDTH, Math.abs(at.y - from.y) * HEIGHT);
      this.from = event.type === 'pointerup' ? null : this.from;
    }
    this.show();
  }

  key(event) {
    const step = { ArrowLeft: [-4, 0], ArrowRight: [4, 0], ArrowUp: [0, -4], ArrowDown: [0, 4] }[event.key];
    if (step) {
      event.preventDefault();
      const move = event.shiftKey ? [0, 0, ...step] : [...step, 0, 0];
      this.setRegion(...this.region.map((value, i) => value + move[i]));
      this.show();
    }
  }

  setRegion(...region) {
    const [x, y, w, h] = region.map(Math.round);
    const [width, height] = [Math.min(WIDTH, Math.max(w, 1)), Math.min(HEIGHT, Math.max(h, 1))];
    this.region = [Math.min(Math.max(x, 0), WIDTH - width), Math.min(Math.max(y, 0), HEIGHT - height), width, height];
  }

  show() {
    for (const card of this.cameras.cards.values()) {
      const { overlay } = card;
      [overlay.width, overlay.height] = [overlay.clientWidth, overlay.clientHeight];
      if (this.on && card === this.card) {
        const context = overlay.getContext('2d');
        const box = this.region.map((value) => value * overlay.width / WIDTH);
        for (const [colour, width] of [['#000', 3], ['#fff', 1]]) {
          Object.assign(context, { strokeStyle: colour, lineWidth: width });
          context.strokeRect(...box);
        }
      }
    }
    this.node.hidden = !this.on;
    const pictures = this.on ? [this.card?.live, this.card?.still] : [null, null];
    const columns = pictures.map((bitmap) => (bitmap ? figuresOf(bitmap, this.region) : []));
    const text = (value) => (Number.isFinite(value) ? value.toFixed(1) : '–');
    render(html`
      <div class="measure">
        <table>
          <tr>
            <th><button type="button" class="name" title="Arrow keys move the rectangle, with Shift they size it"
              @keydown=${(event) => this.key(event)}>${this.region.join(' ')}</button></th>
            <th>live</th><th>held</th>
          </tr>
          ${FIGURES.map((name, i) => html`
            <tr><th>${name}</th>${columns.map((figures) => html`<td>${text(figures[i])}</td>`)}</tr>`)}
        </table>
        <div>
          ${this.loupe}
          <p><button type="button" @click=${() => { this.zoom = this.zoom === 4 ? 1 : 4; this.show(); }}>${
  this.zoom} : 1</button> <output>${this.pixel}</output></p>
        </div>
      </div>
      <form class="console" @submit=${(event) => this.sweep(event)}>
        Sweep <input name="values" placeholder="gamma 0..5 nr3d off,3,8" aria-label="Settings and their values">
        <button>Measure</button>
      </form>
      <table class="sweep">${this.swept}</table>`, this.node);
  }

  look({ live }, { x, y }) {
    if (live) {
      const context = this.loupe.getContext('2d', { willReadFrequently: true });
      const side = LOUPE * 4 / this.zoom;
      const [px, py] = [Math.floor(x * live.width), Math.floor(y * live.height)];
      context.imageSmoothingEnabled = false;
      context.clearRect(0, 0, this.loupe.width, this.loupe.height);
      context.drawImage(live, px - (side >> 1), py - (side >> 1), side, side, 0, 0, this.loupe.width, this.loupe.height);
      const { data } = context.getImageData(this.loupe.width / 2, this.loupe.height / 2, 1, 1);
      this.pixel = `${px} ${py}: ${data[0]} ${data[1]} ${data[2]}`;
    }
  }

  async sweep(event) {
    event.preventDefault();
    const camera = this.cameras.selected;
    const words = event.target.elements.values.value.trim();
    const caption = (text) => html`<caption>${text}</caption>`;
    this.tell(caption(`sweeping ${words} …`));
    try {
      const { points } = await sweep(`sweep ${camera} ${words} region ${this.region.join(' ')} --frames 4 sweep.csv`);
      const names = words.split(/\s+/).filter((_, i) => i % 2 === 0);
      this.fill(camera, points, names);
    } catch (error) {
      this.tell(caption(error.message));
      say(error.message);
    }
  }

  tell(swept) {
    this.swept = swept;
    this.show();
  }

  fill(camera, points, names) {
    const columns = Object.keys(points[0]);
    const sort = (by) => this.fill(camera, points.toSorted((a, b) => (a[by] < b[by] ? -1 : Number(a[by] > b[by]))), names);
    const apply = async (point) => {
      for (const name of names) {
        await putSetting(camera, name, point[name]); // in this order
      }
    };
    const [first, ...others] = columns;
    this.tell(html`
      <tr>${columns.map((column) => html`
        <th><button type="button" @click=${() => sort(column)}>${column}</button></th>`)}</tr>
      ${points.map((point) => html`
        <tr>
          <td><button type="button" title="Set the camera so" @click=${() => apply(point)}>${point[first]}</button></td>
          ${others.map((column) => html`<td>${point[column]}</td>`)}
        </tr>`)}`);
  }
}
