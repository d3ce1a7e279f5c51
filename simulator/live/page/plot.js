// The last 60 simulated seconds of each camera as small plots beside each other.
import { made } from './api.js';
import { html } from './vendor/lit-html.js';

const SECONDS = 60;
const MOST_POINTS = 1200;
const PLOTS = [
  { label: 'Luma', keys: ['luma', 'target'], range: [0, 255], digits: 0 },
  { label: 'Time, ms', keys: ['ms'], digits: 2 },
  { label: 'Gain', keys: ['gain'], digits: 2 },
  { label: 'Iris, steps', keys: ['iris'], range: [0, 820], digits: 0 },
];

export class Plots {
  constructor() {
    const grid = made(html`<div class="plot-grid"></div>`);
    this.name = made(html`<span class="quiet"></span>`);
    this.node = made(html`
      <section class="card plots" aria-label="The last 60 seconds" id="plot-card">
        <h2>The last 60 seconds ${this.name}</h2>${grid}
      </section>`);
    this.history = new Map();
    this.camera = 0;
    this.drawn = 0;
    const probe = grid.appendChild(made(html`<i hidden></i>`)); // tells a colour as it is in the present scheme
    const style = (name) => {
      probe.style.color = `var(${name})`;
      return getComputedStyle(probe).color;
    };
    this.plots = PLOTS.map(({ label, keys, range, digits }) => {
      const now = made(html`<output></output>`);
      const holder = made(html`<figure class="plot"><figcaption>${label}${now}</figcaption></figure>`);
      grid.append(holder);
      const axis = {
        stroke: () => style('--quiet'),
        grid: { stroke: () => style('--line'), width: 1 },
        ticks: { show: false },
        font: '11px system-ui',
      };
      const around = (_, low, high) => { // what is constant is in the middle
        const margin = high > low * 1.02 ? (high - low) * 0.1 : low * 0.1 + 0.01;
        return [Math.max(0, low - margin), high + margin];
      };
      const plot = new uPlot({
        width: holder.clientWidth || 300,
        height: 118,
        legend: { show: false },
        cursor: { y: false, sync: { key: 'cameras' } },
        scales: {
          x: { time: false, range: (_, low, high) => [high - SECONDS, high] },
          y: { range: range ?? around },
        },
        axes: [
          {
            ...axis,
            size: 22,
            splits: (u) => [60, 40, 20, 0].map((ago) => u.scales.x.max - ago),
            values: () => ['', '−40 s', '−20 s', 'now'],
          },
          { ...axis, size: 40, space: 28 },
        ],
        series: [{}, ...keys.map((key, i) => ({
          label: key,
          stroke: () => style(i === 0 ? '--accent' : '--warn'),
          width: 1.5,
          dash: i === 0 ? undefined : [4, 4],
          points: { show: false },
        }))],
      }, [[], ...keys.map(() => [])], holder);
      new ResizeObserver(() => plot.setSize({ width: holder.clientWidth, height: 118 })).observe(holder);
      return { plot, keys, now, digits, holder };
    });
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () =>
      this.plots.forEach(({ plot }) => plot.redraw(false, true)));
  }

  clear() {
    this.history.clear();
  }

  add(state) {
    for (const camera of state.cameras.filter((each) => each.state === 'running')) {
      const points = this.history.get(camera.id) ?? [];
      if (points.length === 0 || state.time >= points.at(-1).x + SECONDS / MOST_POINTS) {
        const { luma, target, gain, iris } = camera;
        const kept = points.filter(({ x }) => x >= state.time - SECONDS);
        this.history.set(camera.id, [...kept, { x: state.time, luma, target, ms: camera.time * 1000, gain, iris }]);
      }
    }
    if (performance.now() - this.drawn > 200) {
      this.draw();
    }
  }

  select(camera) {
    this.camera = camera;
    this.name.textContent = `camera ${camera}`;
    this.draw();
  }

  draw() {
    this.drawn = performance.now();
    const points = this.history.get(this.camera) ?? [];
    const x = points.map((point) => point.x);
    for (const { plot, keys, now, digits, holder } of this.plots) {
      const there = points.length > 0 && points.at(-1)[keys[0]] !== null;
      holder.hidden = points.length > 0 && !there;
      if (!holder.hidden) {
        plot.setData([x, ...keys.map((key) => points.map((point) => point[key]))]);
        now.textContent = there ? keys.map((key) => points.at(-1)[key].toFixed(digits)).join(' of ') : '';
      }
    }
  }
}
