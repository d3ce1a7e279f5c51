// The library's lines, and a field for commands whose answers are among them.
import { linked, made, runCommand, say } from './api.js';
import { html } from './vendor/lit-html.js';

const MOST_LINES = 500;
const CONTROL_LEVEL = 7; // of the lines about VISCA messages

export function clockText(seconds) {
  const minutes = Math.floor(seconds / 60);
  return `${minutes}:${(seconds - minutes * 60).toFixed(1).padStart(4, '0')}`;
}

export class Log {
  constructor(timeNow) {
    this.timeNow = timeNow;
    this.last = 0; // number of the last line
    this.filter = 'all';
    this.typed = [];
    this.place = 0; // among those that were typed
    this.lines = made(html`
      <div id="log-lines" class="log-lines" role="log" aria-live="off" aria-label="Log lines" tabindex="0"></div>`);
    this.node = made(html`
      <section class="card log" aria-label="Log" id="log">
        <div class="log-head">
          <h2>Log</h2>
          <label class="inline">Lines of
            <select @change=${(event) => this.restrict(event.target.value)}>
              <option value="all">all cameras</option>
              ${[0, 1, 2, 3, 4, 5, 6, 7].map((id) => html`<option value=${id}>camera ${id}</option>`)}
              <option value="said">my commands</option>
              <option value="visca">VISCA messages</option>
            </select>
          </label>
          <button type="button" @click=${() => this.lines.replaceChildren()}>Clear</button>
        </div>
        ${this.lines}
        <form class="console" @submit=${(event) => this.submit(event)}>
          <label for="command">Command</label>
          <input id="command" autocomplete="off" autocapitalize="off" spellcheck="false" placeholder="help"
            @keydown=${(event) => this.recall(event)}>
          <button>Run</button>
        </form>
      </section>`);
  }

  restrict(filter) {
    this.filter = filter;
    for (const line of this.lines.children) {
      line.hidden = !this.wants(line.dataset);
    }
    this.toEnd();
  }

  wants({ camera, level }) {
    const { filter } = this;
    return level === String(CONTROL_LEVEL) ? filter === 'visca' : filter === 'all' || camera === filter || camera === 'said';
  }

  toEnd() {
    this.lines.scrollTop = this.lines.scrollHeight;
  }

  add(text, { camera, time = this.timeNow(), level = 0, className = '' }) {
    const atEnd = this.lines.scrollHeight - this.lines.scrollTop - this.lines.clientHeight < 30;
    const line = made(html`
      <div class=${className} data-camera=${camera} data-level=${level}><time>${clockText(time)}</time><span class="tag">${
  camera === null || camera === 'said' ? '' : `camera ${camera}`}</span><span>${
  className === 'answer' ? linked(text) : text}</span></div>`);
    line.hidden = !this.wants(line.dataset);
    this.lines.append(line);
    const isControl = (each) => each.dataset.level === String(CONTROL_LEVEL);
    const alike = [...this.lines.children].filter((each) => isControl(each) === isControl(line));
    if (alike.length > MOST_LINES) {
      alike[0].remove();
    }
    if (atEnd) {
      this.toEnd();
    }
  }

  show(lines) {
    for (const { number, text, ...line } of lines.filter((each) => each.number > this.last)) {
      this.last = number;
      this.add(text, line);
    }
  }

  /** Runs a command and shows it and its answer. */
  async run(command) {
    const tell = (text, className) => this.add(text, { camera: 'said', className });
    tell(`> ${command}`, 'typed');
    try {
      const { output } = await runCommand(command);
      output.trimEnd().split('\n').filter(Boolean).forEach((text) => tell(text, 'answer'));
      say(output);
    } catch (error) {
      tell(error.message, 'bad');
      say(error.message);
    }
  }

  submit(event) {
    event.preventDefault();
    const input = event.target.elements.command;
    const command = input.value.trim();
    if (command) {
      this.place = this.typed.push(command);
      input.value = '';
      this.run(command);
    }
  }

  recall(event) {
    const place = this.place + { ArrowUp: -1, ArrowDown: 1 }[event.key]; // not a number for another key
    if (place >= 0 && place <= this.typed.length) {
      event.preventDefault();
      this.place = place;
      event.target.value = this.typed[place] ?? '';
    }
  }
}
