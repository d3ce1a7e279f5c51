// The page: what the server tells goes to cameras, controls, plots and log.
import { getSettings, listen, readable, title, tryCommand } from './api.js';
import { Cameras } from './cameras.js';
import { Controls, valueText } from './controls.js';
import { Log, clockText } from './log.js';
import { Measuring } from './measure.js';
import { Plots } from './plot.js';
import { html, render } from './vendor/lit-html.js';

const SPEEDS = [0.1, 0.25, 0.5, 1, 2, 5, 10, 50];

// Plots and log stand beside the pictures where there is room, else below them.
const PLOTS_ASIDE = matchMedia('(min-width: 1680px), (min-width: 1001px) and (min-height: 1000px)');
const LOG_ASIDE = matchMedia('(min-width: 1680px) and (min-height: 900px)');

const page = {
  state: { time: 0, speed: 1, undo: '', busy: '' },
  connection: 'connecting',
  busySince: Infinity,
  histograms: localStorage.getItem('histograms') !== 'off',
};

async function start() {
  const list = await getSettings();
  const modes = list.settings.find((setting) => setting.name === 'exposure_mode');
  const log = new Log(() => page.state.time);
  const plots = new Plots();
  const cameras = new Cameras({
    modeName: (value) => readable(valueText(modes, value)),
    onSelect: (id) => {
      controls.select(id);
      plots.select(id);
      measuring.show();
      update();
    },
    onPicture: () => measuring.show(),
    measures: () => measuring.on,
  });
  const measuring = new Measuring(cameras);
  const controls = new Controls(list, {
    update,
    onCamera: (id) => cameras.select(id),
    onReset: (id) => log.run(`reset ${id}`),
  });

  function template() {
    const { time, speed, undo, busy } = page.state;
    const [whose, what] = undo.split(': ');
    return html`
      <a class="skip" href="#panel">Skip to the controls</a>
      <header class="bar">
        <h1>isp-sim</h1>
        <p class="clock"><span class="quiet">simulated time</span> <output>${clockText(time)}</output></p>
        <label class="inline">Speed
          <select @change=${(event) => tryCommand(`speed ${event.target.value}`)}>
            ${[...new Set([...SPEEDS, speed])].map((value) => html`
              <option value=${value} .selected=${value === speed}>${value} ×</option>`)}
          </select>
        </label>
        <button type="button" id="undo" ?disabled=${!what} title="Ctrl+Z" @click=${() => log.run('undo')}>${
  what ? `Undo ${whose}: ${title(what)}` : 'Undo'}</button>
        <button type="button" id="histograms" aria-pressed=${page.histograms} title="Show a histogram in each picture"
          @click=${toggleHistograms}>Histograms</button>
        <button type="button" id="measuring" aria-pressed=${measuring.on} @click=${() => { measuring.toggle(); update(); }}
          title="Figures of a rectangle, a loupe and sweeps">Measure</button>
        <p class="busy" ?hidden=${performance.now() - page.busySince < 300}>${busy}</p>
        <p id="connection" class="connection" role="status">${page.connection}</p>
      </header>
      <main>
        <div class="stage">
          <section class="cameras ${cameras.cards.size === 1 ? 'single' : ''}" aria-label="Cameras"
            @pointerdown=${measuring.pointer} @pointermove=${measuring.pointer} @pointerup=${measuring.pointer}>
            ${cameras.nodes()}
          </section>
          ${measuring.node}${PLOTS_ASIDE.matches ? '' : plots.node}${LOG_ASIDE.matches ? '' : log.node}
        </div>
        <div class="side">
          ${controls.template()}${PLOTS_ASIDE.matches ? plots.node : ''}${LOG_ASIDE.matches ? log.node : ''}
        </div>
      </main>
      <div id="said" class="visually-hidden" aria-live="polite"></div>`;
  }

  function update() {
    document.body.classList.toggle('no-histograms', !page.histograms);
    document.body.classList.toggle('away', page.connection !== 'live');
    document.body.classList.toggle('measuring', measuring.on);
    render(template(), document.body);
  }

  function toggleHistograms() {
    page.histograms = !page.histograms;
    localStorage.setItem('histograms', page.histograms ? '' : 'off');
    update();
  }

  for (const room of [PLOTS_ASIDE, LOG_ASIDE]) {
    room.addEventListener('change', () => {
      update();
      log.toEnd();
    });
  }
  addEventListener('keydown', (event) => {
    if (event.key === 'Escape') {
      cameras.select(cameras.selected, false);
    } else if (event.key === 'z' && (event.ctrlKey || event.metaKey) && event.target.id !== 'command') {
      event.preventDefault();
      document.getElementById('undo').click();
    }
  });

  update();
  listen({
    pictures: (numbers) => cameras.tell(numbers),
    settings: (change) => controls.showSettings(change),
    log: (lines) => log.show(lines),
    state: (state) => {
      if (state.time < page.state.time) { // another program serves now
        log.last = 0;
        plots.clear();
      }
      page.state = state;
      page.busySince = state.busy ? Math.min(page.busySince, performance.now()) : Infinity;
      cameras.show(state.cameras);
      controls.state = state;
      plots.add(state);
      update();
      const there = state.cameras.filter((camera) => camera.state !== 'none');
      if (there.length > 0 && !there.some((camera) => camera.id === cameras.selected)) {
        cameras.select(there[0].id);
      }
    },
    connection: (open) => {
      page.connection = open ? 'live' : 'no connection';
      update();
    },
  });
}

start().catch((error) => render(html`<p class="bar">${error.message}</p>`, document.body));
