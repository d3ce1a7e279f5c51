// The page: what the server tells goes to cameras, controls, plots and log.
import { element, getSettings, linked, listen, readable, runCommand, say, title } from './api.js';
import { Cameras } from './cameras.js';
import { Controls, valueText } from './controls.js';
import { Measuring } from './measure.js';
import { Plots } from './plot.js';

const node = (id) => document.getElementById(id);
const SPEEDS = [0.1, 0.25, 0.5, 1, 2, 5, 10, 50];
const MOST_LINES = 500;
const CONTROL_LEVEL = 7; // of the lines about VISCA messages

function clockText(seconds) {
  const minutes = Math.floor(seconds / 60);
  return `${minutes}:${(seconds - minutes * 60).toFixed(1).padStart(4, '0')}`;
}

/** The library's lines and the answers to commands. */
class Log {
  constructor() {
    this.lines = node('log-lines');
    this.filter = node('log-filter');
    this.last = 0;
    const offer = (value, text) => this.filter.append(element('option', { value }, text));
    offer('all', 'all cameras');
    for (let id = 0; id < 8; id += 1) {
      offer(String(id), `camera ${id}`);
    }
    offer('said', 'my commands');
    offer('visca', 'VISCA messages');
    this.filter.addEventListener('change', () => {
      for (const line of this.lines.children) {
        line.hidden = !this.wants(line.dataset);
      }
      this.lines.scrollTop = this.lines.scrollHeight;
    });
    node('log-clear').addEventListener('click', () => this.lines.replaceChildren());
  }

  wants({ camera, level }) {
    const { value } = this.filter;
    return level === String(CONTROL_LEVEL) ? value === 'visca' : value === 'all' || camera === value || camera === 'said';
  }

  add(text, camera, time, className = '', level = 0) {
    const atEnd = this.lines.scrollHeight - this.lines.scrollTop - this.lines.clientHeight < 30;
    const tag = camera === null || camera === 'said' ? '' : `camera ${camera}`;
    const line = element('div', { className },
      element('time', {}, clockText(time)), element('span', { className: 'tag' }, tag),
      element('span', {}, ...(className === 'answer' ? linked(text) : [text])));
    Object.assign(line.dataset, { camera, level });
    line.hidden = !this.wants(line.dataset);
    this.lines.append(line);
    const alike = [...this.lines.children].filter((each) => (each.dataset.level === String(CONTROL_LEVEL)) === (level === CONTROL_LEVEL));
    if (alike.length > MOST_LINES) {
      alike[0].remove();
    }
    if (atEnd) {
      this.lines.scrollTop = this.lines.scrollHeight;
    }
  }

  show(lines) {
    for (const { number, time, camera, text, level } of lines) {
      if (number > this.last) {
        this.last = number;
        this.add(text, camera, time, '', level);
      }
    }
  }
}

/** Returns what runs a command and shows it and its answer in the log. */
function setUpConsole(log, timeNow) {
  const input = node('command');
  const typed = [];
  let place = 0;
  const run = async (line) => {
    log.add(`> ${line}`, 'said', timeNow(), 'typed');
    try {
      const { output } = await runCommand(line);
      output.trimEnd().split('\n').filter(Boolean).forEach((text) => log.add(text, 'said', timeNow(), 'answer'));
      say(output);
    } catch (error) {
      log.add(error.message, 'said', timeNow(), 'bad');
      say(error.message);
    }
  };
  node('console').addEventListener('submit', (event) => {
    event.preventDefault();
    const line = input.value.trim();
    if (line) {
      typed.push(line);
      place = typed.length;
      input.value = '';
      run(line);
    }
  });
  input.addEventListener('keydown', (event) => {
    const step = { ArrowUp: -1, ArrowDown: 1 }[event.key];
    if (step && place + step >= 0 && place + step <= typed.length) {
      event.preventDefault();
      place += step;
      input.value = typed[place] ?? '';
    }
  });
  return run;
}

async function start() {
  const list = await getSettings();
  const modes = list.settings.find((setting) => setting.name === 'exposure_mode');
  const log = new Log();
  let time = 0;
  const run = setUpConsole(log, () => time);

  const plots = new Plots(node('plots'));
  const cameras = new Cameras(node('cameras'), {
    modeName: (value) => readable(valueText(modes, value)),
    onSelect: (id) => {
      controls.select(id);
      plots.select(id);
      node('plot-camera').textContent = `camera ${id}`;
      measuring.show();
    },
    onStart: (ids) => runCommand(`start ${ids.join(' ')}`).catch((error) => say(error.message)),
  });
  const measuring = new Measuring(cameras, node('measure-card'), node('measuring'));
  const controls = new Controls({
    choiceNode: node('camera-choice'),
    tabsNode: node('tabs'),
    pagesNode: node('pages'),
    list,
    onCamera: (id) => cameras.select(id),
  });

  const speed = node('speed');
  speed.append(...SPEEDS.map((value) => element('option', { value: String(value) }, `${value} ×`)));
  speed.addEventListener('change', () => runCommand(`speed ${speed.value}`).catch((error) => say(error.message)));

  const histograms = node('histograms');
  const showHistograms = (on) => {
    histograms.setAttribute('aria-pressed', String(on));
    document.body.classList.toggle('no-histograms', !on);
    localStorage.setItem('histograms', on ? '' : 'off');
  };
  showHistograms(localStorage.getItem('histograms') !== 'off');
  histograms.addEventListener('click', () => showHistograms(histograms.getAttribute('aria-pressed') !== 'true'));

  const undo = node('undo');
  undo.addEventListener('click', () => run('undo'));
  node('reset').addEventListener('click', () => run(`reset ${cameras.selected}`));
  addEventListener('keydown', (event) => {
    if (event.key === 'Escape') {
      cameras.select(cameras.selected, false);
    } else if (event.key === 'z' && (event.ctrlKey || event.metaKey) && event.target !== node('command')) {
      event.preventDefault();
      undo.click();
    }
  });

  // Plots and log stand beside the pictures where there is room, else below them.
  for (const [id, room] of [['plot-card', '(min-width: 1680px), (min-width: 1001px) and (min-height: 1000px)'],
    ['log', '(min-width: 1680px) and (min-height: 900px)']]) {
    const query = matchMedia(room);
    const place = () => {
      node(query.matches ? 'side' : 'stage').append(node(id));
      node('log-lines').scrollTop = Number.MAX_SAFE_INTEGER;
    };
    query.addEventListener('change', place);
    place();
  }

  let busySince = 0;
  listen({
    pictures: (numbers) => cameras.tell(numbers),
    settings: (change) => controls.showSettings(change),
    log: (lines) => log.show(lines),
    state: (state) => {
      if (state.time < time) { // another program serves now
        log.last = 0;
        plots.clear();
      }
      time = state.time;
      const [whose, what] = state.undo.split(': ');
      undo.disabled = !what;
      undo.textContent = what ? `Undo ${whose}: ${title(what)}` : 'Undo';
      node('clock').textContent = clockText(time);
      if (document.activeElement !== speed) {
        if (![...speed.options].some((option) => Number(option.value) === state.speed)) {
          speed.append(element('option', { value: String(state.speed) }, `${state.speed} ×`));
        }
        speed.value = String(state.speed);
      }
      busySince = state.busy ? busySince || performance.now() : 0;
      node('busy').hidden = !busySince || performance.now() - busySince < 300;
      node('busy').textContent = state.busy;
      cameras.show(state.cameras);
      controls.showState(state);
      plots.add(state);
      const there = state.cameras.filter((camera) => camera.state !== 'none');
      if (there.length > 0 && !there.some((camera) => camera.id === cameras.selected)) {
        cameras.select(there[0].id);
      }
    },
    connection: (open) => {
      node('connection').textContent = open ? 'live' : 'no connection';
      document.body.classList.toggle('away', !open);
    },
  });
}

start().catch((error) => {
  node('connection').textContent = error.message;
  document.body.classList.add('away');
});
