// A rectangle on the pictures whose figures are shown live, beside those of the held picture; a loupe under the pointer;
// sweeps over settings, measured in the rectangle.
import { element, putSetting, say, sweep } from './api.js';

const WIDTH = 640; // of the picture that commands measure
const HEIGHT = 480;
const LOUPE = 33; // pixels of the picture at 4 : 1
const FIGURES = ['red', 'green', 'blue', 'luma', 'noise', 'S/N, dB', 'clipped, %', 'black, %'];

/** Figures of a region (0 to 1) of a bitmap, in levels of 255. */
function figuresOf(bitmap, { x, y, w, h }) {
  const width = Math.max(1, Math.round(w * bitmap.width));
  const height = Math.max(1, Math.round(h * bitmap.height));
  const context = new OffscreenCanvas(width, height).getContext('2d', { willReadFrequently: true });
  context.drawImage(bitmap, -Math.round(x * bitmap.width), -Math.round(y * bitmap.height));
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
  constructor(cameras, card, button) {
    this.cameras = cameras;
    this.region = { x: 0.4, y: 0.4, w: 0.2, h: 0.2 };
    this.loupe = element('canvas', { className: 'loupe', width: 132, height: 132, role: 'img', ariaLabel: 'Loupe' });
    this.scale = element('button', { type: 'button', onclick: () => this.setZoom(this.zoom === 4 ? 1 : 4) });
    this.pixel = element('output', {}, 'point at the picture');
    this.cells = FIGURES.map(() => [element('td'), element('td')]);
    this.place = element('button', {
      type: 'button', className: 'name', title: 'Arrow keys move the rectangle, with Shift they size it',
      onkeydown: (event) => this.key(event),
    });
    this.values = element('input', { placeholder: 'gamma 0..5 nr3d off,3,8', 'aria-label': 'Settings and their values' });
    this.rows = element('table', { className: 'sweep' });
    const form = element('form', { className: 'console', onsubmit: (event) => this.sweep(event) },
      'Sweep', this.values, element('button', {}, 'Measure'));
    card.append(
      element('div', { className: 'measure' },
        element('table', {},
          element('tr', {}, element('th', {}, this.place), element('th', {}, 'live'), element('th', {}, 'held')),
          ...FIGURES.map((name, i) => element('tr', {}, element('th', {}, name), ...this.cells[i]))),
        element('div', {}, this.loupe, element('p', {}, this.scale, ' ', this.pixel))),
      form, this.rows);
    this.setZoom(4);
    button.onclick = () => this.toggle(button, card);
    cameras.node.addEventListener('picture', () => this.show());
    for (const kind of ['pointerdown', 'pointermove', 'pointerup']) {
      cameras.node.addEventListener(kind, (event) => this.pointer(event));
    }
  }

  get card() {
    return this.cameras.cards.get(this.cameras.selected);
  }

  setZoom(zoom) {
    this.zoom = zoom;
    this.scale.textContent = `${zoom} : 1`;
  }

  toggle(button, card) {
    const on = document.body.dataset.tool !== 'measure';
    document.body.dataset.tool = on ? 'measure' : '';
    button.setAttribute('aria-pressed', String(on));
    card.hidden = !on;
    this.show();
  }

  pointer(event) {
    const { card } = this;
    if (document.body.dataset.tool !== 'measure' || !card?.frame.contains(event.target)) {
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
      this.setRegion(Math.min(at.x, this.from.x), Math.min(at.y, this.from.y),
        Math.abs(at.x - this.from.x), Math.abs(at.y - this.from.y));
      this.from = event.type === 'pointerup' ? null : this.from;
    }
  }

  key(event) {
    const step = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] }[event.key];
    if (step) {
      event.preventDefault();
      const { x, y, w, h } = this.region;
      const [dx, dy] = [step[0] * 4 / WIDTH, step[1] * 4 / HEIGHT];
      this.setRegion(...(event.shiftKey ? [x, y, w + dx, h + dy] : [x + dx, y + dy, w, h]));
    }
  }

  setRegion(x, y, w, h) {
    const width = Math.min(1, Math.max(w, 1 / WIDTH));
    const height = Math.min(1, Math.max(h, 1 / HEIGHT));
    this.region = { x: Math.min(Math.max(x, 0), 1 - width), y: Math.min(Math.max(y, 0), 1 - height), w: width, h: height };
    this.show();
  }

  /** The rectangle in the pixels that commands measure. */
  pixels() {
    const { x, y, w, h } = this.region;
    const [left, top] = [Math.min(Math.round(x * WIDTH), WIDTH - 1), Math.min(Math.round(y * HEIGHT), HEIGHT - 1)];
    return [left, top, Math.max(1, Math.min(Math.round(w * WIDTH), WIDTH - left)),
      Math.max(1, Math.min(Math.round(h * HEIGHT), HEIGHT - top))];
  }

  show() {
    const on = document.body.dataset.tool === 'measure';
    for (const card of this.cameras.cards.values()) {
      const { overlay } = card;
      [overlay.width, overlay.height] = [overlay.clientWidth, overlay.clientHeight];
      if (on && card === this.card) {
        const context = overlay.getContext('2d');
        const { x, y, w, h } = this.region;
        const box = [x * overlay.width, y * overlay.height, w * overlay.width, h * overlay.height];
        for (const [colour, width] of [['#000', 3], ['#fff', 1]]) {
          Object.assign(context, { strokeStyle: colour, lineWidth: width });
          context.strokeRect(...box);
        }
      }
    }
    if (on && this.card) {
      this.place.textContent = this.pixels().join(' ');
      [this.card.live, this.card.still].forEach((bitmap, column) => {
        const figures = bitmap ? figuresOf(bitmap, this.region) : [];
        FIGURES.forEach((_, i) => {
          this.cells[i][column].textContent = Number.isFinite(figures[i]) ? figures[i].toFixed(1) : '–';
        });
      });
    }
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
      this.pixel.textContent = `${px} ${py}: ${data[0]} ${data[1]} ${data[2]}`;
    }
  }

  async sweep(event) {
    event.preventDefault();
    const camera = this.cameras.selected;
    const words = this.values.value.trim();
    this.rows.replaceChildren(element('caption', {}, `sweeping ${words} …`));
    try {
      const { points } = await sweep(`sweep ${camera} ${words} region ${this.pixels().join(' ')} --frames 4 sweep.csv`);
      const names = words.split(/\s+/).filter((_, i) => i % 2 === 0);
      this.fill(camera, points, names, Object.keys(points[0]));
    } catch (error) {
      this.rows.replaceChildren(element('caption', {}, error.message));
      say(error.message);
    }
  }

  fill(camera, points, names, columns, by = null) {
    const sorted = by === null ? points
      : [...points].sort((a, b) => (typeof a[by] === 'number' ? a[by] - b[by] : a[by] < b[by] ? -1 : 1));
    const apply = async (point) => {
      for (const name of names) {
        await putSetting(camera, name, point[name]); // in this order
      }
    };
    this.rows.replaceChildren(
      element('tr', {}, ...columns.map((column) => element('th', {}, element('button', {
        type: 'button', onclick: () => this.fill(camera, points, names, columns, column),
      }, column)))),
      ...sorted.map((point) => element('tr', {}, ...columns.map((column, i) => element('td', {}, i > 0 ? String(point[column])
        : element('button', { type: 'button', title: 'Set the camera so', onclick: () => apply(point) }, String(point[column])))))));
  }
}
