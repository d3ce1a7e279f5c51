// The controls: one per setting of the server's list, grouped as there, and those of scene, lens, faults and
// calibration.
import {
  getFiles, latestOnly, linked, putFile, putSetting, putSettings, readable, runCommand, say, title,
} from './api.js';
import { html, nothing } from './vendor/lit-html.js';

const TABS = { exposure: 'Exposure', white_balance: 'White balance', image: 'Image' }; // other groups are among the tools
const ONE_PUSH_SECONDS = 4;
const CALIBRATION_SECONDS = 9;

const DARKEST = -2.05; // the slider of the luminance is logarithmic; its lowest place is no light at all
const luminanceAt = (place) => (place <= DARKEST ? 0 : Number((10 ** place).toPrecision(3)));

export function valueText(setting, value) {
  return setting.names.find((known) => known.value === value)?.name ?? String(value);
}

/** Why a setting has no effect with the values of a record, for people; empty where it has one. Its `modes` are, for
 *  each setting that it depends on, the values it needs; null stands for those without a name. */
function reasonOf(setting, record, settings) {
  return Object.entries(setting.modes).map(([name, values]) => {
    const mode = settings.get(name);
    const known = mode.names.map(({ value }) => value);
    if (values.includes(known.includes(record[name]) ? record[name] : null)) {
      return '';
    }
    if (name === setting.name) {
      return `${readable(valueText(setting, record[name]))} has no effect`;
    }
    const others = known.filter((value) => !values.includes(value));
    const few = values.length <= others.length;
    const texts = (few ? values : others).filter((value) => value !== null).map((value) => readable(valueText(mode, value)));
    return `${few ? 'only' : 'not'} with ${title(name)} ${texts.join(', ').replace(/, (?=[^,]*$)/, ' or ')}`;
  }).filter(Boolean).join(', ');
}

const hasNoEffect = (setting) => Object.values(setting.modes).some((values) => values.length === 0);

const sentence = (text) => (text ? `${text[0].toUpperCase()}${text.slice(1)}.` : '');

/** A value as its control shows it: what it means, "1/60 s", after the level where it has no name. */
function meaningOf(setting, value) {
  const quantity = setting.quantities[value - setting.lowest] ?? '';
  const text = valueText(setting, value);
  return text !== String(value) ? [quantity || text] : [text, quantity];
}

/** How a setting is shown. */
function formOf(setting) {
  if (setting.name === 'style') {
    return 'styles';
  }
  if (setting.kind === 'action') {
    return 'action';
  }
  if (setting.highest - setting.lowest > 1000) {
    return 'number';
  }
  const names = setting.names.map((known) => known.name);
  if (names.length === 2 && names.includes('on') && names.includes('off')) {
    return 'switch';
  }
  const modes = setting.names.length >= 3 && setting.names.length <= 8 && setting.highest - setting.lowest > 16;
  const allNamed = setting.names.length === setting.highest - setting.lowest + 1 && setting.names.length <= 8;
  return modes || allNamed ? 'choice' : 'slider';
}

const button = (text, action, disabled = false) => html`
  <button type="button" ?disabled=${disabled} @click=${action}>${text}</button>`;

/** Buttons of which one is chosen; arrow keys move as among radio buttons, which they are. */
const choice = (id, label, options, chosen, onChoose) => html`
  <div class="pills" role="radiogroup" aria-label=${label} aria-describedby="${id}-note">
    ${options.map(([value, text]) => html`<span><input type="radio" name=${id} id="${id}-${value}"
      .checked=${value === chosen} @change=${() => onChoose(value)}><label for="${id}-${value}">${text}</label></span>`)}
  </div>`;

const slider = (id, { lowest, highest, step = 1 }, value, text, onMove, initial) => html`
  <span class="control ranged">
    <input type="range" id=${id} min=${lowest} max=${highest} step=${step} .value=${value} aria-valuetext=${text}
      aria-describedby="${id}-note" @input=${(event) => onMove(Number(event.target.value))}>${initial}
  </span>`;

const switchOf = (id, on, onSwitch) => html`
  <span class="control">
    <input type="checkbox" class="switch" role="switch" id=${id} name=${id} .checked=${on} aria-describedby="${id}-note"
      @change=${(event) => onSwitch?.(event.target.checked)}>
  </span>`;

/** A button that asks for a file. */
const picker = (text, accept, onFile) => html`
  <label class="picker">${text}<input type="file" accept=${accept} class="visually-hidden"
    @change=${({ target }) => { onFile(target.files[0]); target.value = ''; }}></label>`;

/** A bar that fills within so many seconds of simulated time since it was begun. */
const progress = (begun, seconds, now) => html`
  <progress max="1" aria-label="Progress" .value=${Math.min(1, (now - begun) / seconds) || 0} ?hidden=${begun === null}></progress>`;

/** A line of the panel: what it is, its control, what the value means, what else is to be said. */
const row = (id, label, control, { value = '', reset = '', note = '', kind = '', className = '', hint = '' } = {}) => html`
  <div class="row ${className}" data-setting=${id}>
    <label class="label" for=${id} title=${hint || nothing}>${label}</label>${control}
    <output class="value">${value}</output>${reset}
    <p class="note ${kind}" id="${id}-note">${note}</p>
  </div>`;

const section = (heading, ...content) => html`<section class="group"><h3>${heading}</h3>${content}</section>`;

const output = async (line) => (await runCommand(line)).output;

const download = (href, name) => Object.assign(document.createElement('a'), { href, download: name }).click();

/** What a hand moves: shows at once where it was moved to, and what the server says a while after. */
class Control {
  constructor(controls, label, send, pause = 400) {
    Object.assign(this, { controls, label, pause }); // milliseconds
    this.clear();
    this.sendLatest = latestOnly(async (camera, value) => {
      this.sending = true;
      await send(camera, value).then((told) => this.tell(...told), (error) => this.tell(error.message, 'bad'));
      this.sending = false;
      controls.update();
      setTimeout(controls.update, pause);
    });
  }

  clear() {
    this.touched = -Infinity;
    this.tell('');
  }

  put(value) {
    this.touched = performance.now();
    this.held = value;
    this.sendLatest(this.controls.camera, value);
    this.controls.update();
  }

  shown(value) {
    return this.sending || performance.now() - this.touched < this.pause ? this.held ?? value : value;
  }

  /** What became of the value; it stands for a while. */
  tell(text, kind = '') {
    this.message = { text, kind, until: performance.now() + 12000 };
    if (text) {
      say(`${this.label}: ${text}`);
    }
  }

  /** That, or else a reason why the control has no effect. */
  note(reason = '') {
    const { text, kind, until } = this.message;
    return text && performance.now() < until ? { note: text, kind } : { note: reason, kind: '' };
  }
}

/** The control of a setting. */
class Row extends Control {
  constructor(controls, setting) {
    super(controls, title(setting.name), (camera, value) => this.request(camera, value));
    this.setting = setting;
    this.form = formOf(setting);
    this.idle = hasNoEffect(setting);
    this.begun = null; // simulated time at which an action was
  }

  async request(camera, value) {
    const { name, kind } = this.setting;
    this.begun = name === 'wb_mode_onepush' ? this.controls.state.time : null;
    const { result, stored, text } = await putSetting(camera, name, value).finally(() => { this.begun = null; });
    if (stored !== null) {
      this.controls.records.get(camera)[name] = stored;
    }
    return [sentence(text || (kind === 'action' ? 'done' : '')), { 0: '', '-1': 'bad' }[result] ?? 'warn'];
  }

  control(value) {
    const { setting, form } = this;
    const { name } = setting;
    const put = (chosen) => this.put(chosen);
    const valueOf = (text) => setting.names.find((known) => known.name === text).value;
    switch (form) {
      case 'action':
        return html`
          <span class="control">
            <button type="button" aria-describedby="${name}-note" @click=${() => put()}>${
  name === 'wb_mode_onepush' ? 'Measure' : 'Apply'}</button>
            ${progress(this.begun, ONE_PUSH_SECONDS, this.controls.state.time)}
          </span>`;
      case 'switch':
        return switchOf(name, value === valueOf('on'), (on) => put(valueOf(on ? 'on' : 'off')));
      case 'choice':
      case 'styles': {
        const names = setting.names.every((known) => Number(known.name) > 0)
          ? setting.names.toSorted((a, b) => a.name - b.name) : setting.names;
        return choice(name, this.label, names.map((known) => [known.value, readable(known.name)]), value, put);
      }
      case 'number':
        return html`
          <span class="control">
            <input type="number" id=${name} min=${setting.lowest} max=${setting.highest} .value=${value}
              aria-describedby="${name}-note" @change=${(event) => put(Number(event.target.value))}>
          </span>`;
      default: {
        const at = (setting.initial - setting.lowest) / (setting.highest - setting.lowest);
        return slider(name, setting, value, meaningOf(setting, value).join(' ').trim(), put, html`
          <i class="initial" title="initially ${valueText(setting, setting.initial)}" .style=${`--at: ${at}`}></i>`);
      }
    }
  }

  template(record) {
    const { setting, form } = this;
    const value = this.shown(record[setting.name] ?? setting.initial);
    const reason = this.idle ? '' : reasonOf(setting, record, this.controls.settings);
    const follows = setting.name === 'exposure_mode' && valueText(setting, value) === 'smart' ? this.controls.followed() : '';
    const [meaning, quantity = ''] = form === 'slider' ? meaningOf(setting, value) : [''];
    const back = `back to ${valueText(setting, setting.initial)}`;
    const changed = value !== setting.initial ? 'changed' : '';
    const unused = reason && setting.kind !== 'action' ? 'unused' : '';
    return row(setting.name, this.label, this.control(value), {
      hint: `${setting.name}: ${setting.effect}`,
      className: `of-${form} ${changed} ${unused}`,
      value: html`${meaning}<small> ${quantity}</small>`,
      reset: html`
        <button type="button" class="reset" title=${back} aria-label="${this.label}: ${back}"
          @click=${() => this.put(setting.initial)}>↺</button>`,
      ...this.note(follows || reason || (setting.shown || this.idle ? '' : 'not shown by the simulated picture')),
    });
  }
}

export class Controls {
  constructor(list, { update, onCamera, onReset }) {
    Object.assign(this, { list, update, onCamera, onReset });
    this.settings = new Map(list.settings.map((setting) => [setting.name, setting]));
    this.rows = list.settings.filter((setting) => setting.kind !== 'none').map((setting) => new Row(this, setting));
    this.records = new Map();
    this.camera = 0;
    this.tab = 0;
    this.notes = {}; // what became of commands, by section
    this.begun = {}; // simulated times at which calibrations were, by light
    this.over = ''; // time in which a luminance is reached
    this.look = '';
    this.looks = [];
    this.commands = {}; // the controls of what is no setting
  }

  select(camera) {
    this.camera = camera;
    this.rows.forEach((each) => each.clear());
  }

  showSettings({ camera, settings }) {
    this.records.set(camera, { ...this.records.get(camera), ...settings });
  }

  followed() {
    const { follows } = this.state.cameras[this.camera];
    return follows === null ? 'No camera is followed here: exposure stays as it is.' : `Follows camera ${follows}.`;
  }

  /** Shows in a section's note what an action answers, or why it was refused. */
  async attempt(place, action) {
    try {
      const text = (await action()).trim();
      this.notes[place] = { text: text ? linked(text) : '', kind: '' };
    } catch (error) {
      this.notes[place] = { text: error.message, kind: 'bad' };
      say(error.message);
    }
    this.update();
  }

  note(place) {
    const { text, kind } = this.notes[place] ?? { text: '', kind: '' };
    return html`<p class="note ${kind}" aria-live="polite">${text}</p>`;
  }

  settingsPage(belongs) {
    const record = this.records.get(this.camera);
    const rows = this.rows.filter(({ setting }) => belongs(setting.group));
    const those = (wanted) => rows.filter(wanted).map((each) => each.template(record));
    const idle = those((each) => each.idle);
    return [
      ...those((each) => each.form === 'styles'),
      ...those((each) => each.form !== 'styles' && !each.idle),
      idle.length > 0 ? html`
        <details class="group"><summary>Kept or accepted, without effect</summary>${idle}</details>` : '',
    ];
  }

  /** The control of what a command line sets. */
  commanding(id, label, lineOf) {
    this.commands[id] ??= new Control(this, label, async (camera, value) => {
      await runCommand(lineOf(value, camera));
      return [''];
    }, 1500);
    return this.commands[id];
  }

  slider(id, label, range, value, lineOf, textOf = String) {
    const { lowest, highest, step } = range;
    const control = this.commanding(id, label, lineOf);
    const shown = control.shown(Math.min(highest, lowest + Math.round((value - lowest) / step) * step));
    return row(id, label, slider(id, range, shown, textOf(shown), (moved) => control.put(moved)),
      { value: textOf(shown), ...control.note() });
  }

  switch(id, label, on, lineOf) {
    const control = this.commanding(id, label, lineOf);
    return row(id, label, switchOf(id, control.shown(on), (moved) => control.put(moved)), control.note());
  }

  choice(id, label, options, chosen, lineOf) {
    const control = this.commanding(id, label, lineOf);
    return [choice(id, label, options, control.shown(chosen), (value) => control.put(value)), control.note()];
  }

  scenePage() {
    const { camera, state, list: { offers } } = this;
    const now = state.cameras[camera];
    const sceneOf = (id) => this.state.cameras[id].scene;
    const [scenes, sceneNote] = this.choice('scene', 'Scene', offers.scenes.map((name) => [name, title(name)]), now.scene,
      (name, id) => `scene ${id} ${name}`);
    const [mains, mainsNote] = this.choice('scene-mains', 'Mains', [[50, '50 Hz'], [60, '60 Hz'], [0, 'off']], now.mains,
      (hertz, id) => `mains ${id} ${hertz || 'off'}`);
    const lamp = (name) => button(name, () => this.attempt('scene', () => output(`illuminant ${camera} ${name}`)));
    const show = async (file) => {
      const name = file.name.replace(/[^\w.-]/g, '_');
      await putFile(name, file);
      return output(`scene ${camera} ${name}`);
    };
    return [
      section('Scene in front of the camera',
        scenes, html`<p class="note ${sceneNote.kind}" id="scene-note">${sceneNote.note}</p>`,
        this.switch('scene-moving', 'Moving', now.moving, (on, id) => `scene ${id} ${sceneOf(id)}${on ? ' moving' : ''}`),
        picker('Photograph…', 'image/png,image/jpeg', (file) => this.attempt('scene', () => show(file)))),
      section('Light',
        this.slider('scene-luminance', 'Luminance, cd/m²', { lowest: DARKEST, highest: 4.7, step: 0.05 },
          Math.max(Math.log10(now.luminance), DARKEST),
          (place, id) => `scene ${id} ${luminanceAt(place)} ${this.over}`.trim(),
          (place) => (place >= 3 ? `${(10 ** place / 1000).toFixed(1)} k` : String(luminanceAt(place)))),
        row('scene-over', 'is reached', html`
          <select id="scene-over" @change=${(event) => { this.over = event.target.value; }}>
            <option value="">at once</option>
            ${[2, 10, 30].map((seconds) => html`<option value="${seconds}s">in ${seconds} s</option>`)}
          </select>`),
        this.slider('scene-light', 'Light, K', { lowest: 2000, highest: 10000, step: 100 }, now.illuminant,
          (kelvin, id) => `illuminant ${id} ${kelvin}`),
        row('scene-lamp', 'Lamp', html`<span class="buttons">${offers.illuminants.map(lamp)}</span>`),
        row('scene-mains', 'Mains', mains, mainsNote)),
      section('Lens of camera 0',
        this.slider('lens-zoom', 'Zoom', { lowest: 0, highest: offers.zoom_longest, step: 50 }, state.zoom_target,
          (steps) => `zoom ${steps}`),
        this.slider('lens-iris', 'Iris position', { lowest: 0, highest: offers.iris_widest, step: 5 }, state.iris_target,
          (steps) => `iris to ${steps}`),
        this.switch('lens-auto', 'Automatic iris', state.auto_iris, (on) => `iris auto ${on ? 'on' : 'off'}`)),
      this.note('scene'),
    ];
  }

  toolsPage() {
    const { camera, state, list: { offers } } = this;
    const buttons = (...content) => html`<div class="buttons">${content}</div>`;
    const tried = (text, place, action, disabled) => button(text, () => this.attempt(place, action), disabled);
    const calibrate = (text, light) => buttons(
      tried(text, 'white', async () => {
        this.begun[light] = state.time;
        return output(`calibrate ${light}`).finally(() => delete this.begun[light]);
      }, light in this.begun),
      progress(this.begun[light] ?? null, CALIBRATION_SECONDS, state.time));
    const field = (id, label, input) => row(id, label, html`<span class="control">${input}</span>`);
    const withLook = (command) => () => output(`${command} ${camera} ${this.look.trim()}.look`);
    const findLooks = async () => {
      this.looks = (await getFiles()).filter((name) => name.endsWith('.look')).map((name) => name.slice(0, -5));
      this.update();
    };
    const take = async (file) => {
      await putSettings(camera, file);
      return `camera ${camera} has the settings of ${file.name}`;
    };
    const inject = (event) => {
      event.preventDefault();
      const { name, nth, code, always } = Object.fromEntries(new FormData(event.target));
      this.attempt('faults', () => output(`fault ${name} ${nth} ${code}${always ? ' always' : ''}`));
    };
    return [
      section('Cameras',
        buttons(state.cameras.map(({ id, state: life }) => (life === 'running'
          ? tried(`Release ${id}`, 'cameras', () => output(`release ${id}`))
          : tried(`Start ${id}`, 'cameras', () => output(`start ${id}`))))),
        this.note('cameras')),
      section('Looks and pictures of this camera',
        field('look', 'Look', html`
          <input id="look" autocomplete="off" spellcheck="false" list="looks" placeholder="name" @focus=${findLooks}
            @input=${(event) => { this.look = event.target.value; }}>
          <datalist id="looks">${this.looks.map((name) => html`<option value=${name}></option>`)}</datalist>`),
        buttons(tried('Keep', 'looks', withLook('save')), tried('Apply', 'looks', withLook('load')),
          button('Export', () => download(`api/cameras/${camera}/settings`, `camera${camera}.json`)),
          picker('Import…', '.json', (file) => this.attempt('looks', () => take(file)))),
        buttons(tried('Picture as PNG', 'looks', () => output(`render ${camera} camera${camera}.png`)),
          button('as JPEG', () => download(`api/cameras/${camera}/picture.jpg?width=1280`, `camera${camera}.jpg`))),
        this.note('looks')),
      section('White-balance calibration of cameras 0, 2 and 3',
        calibrate('1. Measure D65', 'd65'), calibrate('2. Measure A', 'a'),
        buttons(tried('Follow camera 3', 'white', () => output('follow wb on')),
          tried('Stop following', 'white', () => output('follow wb off'))),
        this.note('white')),
      section('Make a call of the engine or host fail', html`
        <form @submit=${inject}>
          <datalist id="functions">${offers.functions.map((name) => html`<option value=${name}></option>`)}</datalist>
          ${field('fault', 'Function', html`
            <input id="fault" name="name" value=${offers.functions[0]} autocomplete="off" spellcheck="false" list="functions">`)}
          ${field('fault-nth', 'Its call, from now', html`
            <input id="fault-nth" name="nth" type="number" min="1" max="1000000" value="1">`)}
          ${field('fault-code', 'Code', html`
            <input id="fault-code" name="code" type="number" min="-32768" max="32767" value="-1">`)}
          ${row('always', 'And all later calls', switchOf('always'))}
          ${buttons(html`<button>Inject</button>`, tried('Clear all', 'faults', () => output('fault clear')))}
        </form>`,
        this.note('faults')),
      section('Other settings', this.settingsPage((group) => !(group in TABS))),
    ];
  }

  template() {
    const { state, camera } = this;
    if (!state) {
      return '';
    }
    const pages = [
      ...Object.entries(TABS).map(([group, text]) => [text, this.settingsPage((of) => of === group)]),
      ['Scene', this.scenePage()],
      ['Tools', this.toolsPage()],
    ];
    const open = (tab) => {
      this.tab = tab;
      this.update();
    };
    const step = (event) => {
      const by = { ArrowRight: 1, ArrowLeft: pages.length - 1 }[event.key];
      if (by) {
        open((this.tab + by) % pages.length);
        event.target.parentNode.children[this.tab].focus();
      }
    };
    const there = state.cameras.filter((each) => each.state !== 'none').map(({ id }) => [id, `Camera ${id}`]);
    return html`
      <section id="panel" class="panel card" aria-label="Controls" tabindex="-1">
        <div class="panel-head">
          ${choice('camera', 'Camera that the controls act on', there, camera, this.onCamera)}
          <button type="button" id="reset" title="All settings of this camera to their initial values"
            @click=${() => this.onReset(camera)}>Reset all</button>
          <div class="tabs" role="tablist" aria-label="Controls" @keydown=${step}>
            ${pages.map(([text], tab) => html`
              <button type="button" role="tab" aria-controls="page${tab}" aria-selected=${tab === this.tab}
                tabindex=${tab === this.tab ? 0 : -1} @click=${() => open(tab)}>${text}</button>`)}
          </div>
        </div>
        ${pages.map(([text, content], tab) => html`
          <div class="page" id="page${tab}" role="tabpanel" aria-label=${text} ?hidden=${tab !== this.tab}>${content}</div>`)}
      </section>`;
  }
}
