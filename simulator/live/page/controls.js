// The controls: one per setting of the server's list, grouped as there, and those of scene, lens, faults and
// calibration.
import {
  element, getFiles, latestOnly, linked, putFile, putSetting, putSettings, readable, runCommand, say, title,
} from './api.js';

const TABS = { exposure: 'Exposure', white_balance: 'White balance', image: 'Image' }; // other groups are among the tools
const ONE_PUSH_SECONDS = 4;
const CALIBRATION_SECONDS = 9;

const DARKEST = -2.05; // the slider of the luminance is logarithmic; its lowest place is no light at all
const luminanceAt = (place) => (place <= DARKEST ? 0 : Number((10 ** place).toPrecision(3)));

const button = (text, onclick, attributes = {}) => element('button', { type: 'button', onclick, ...attributes }, text);

let ids = 0;
const newId = () => `c${(ids += 1)}`;

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

/** A value as its control shows it: what it means, "1/60 s", and the level beside it where it has no name. */
function shownValue(setting, value) {
  const quantity = setting.quantities[value - setting.lowest] ?? '';
  const text = valueText(setting, value);
  const named = text !== String(value);
  return named ? [quantity || text] : [text, element('small', {}, ` ${quantity}`)];
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

/** Buttons of which one is chosen; arrow keys move as among radio buttons, which they are. */
function choice(label, options, onChoose, className = 'pills') {
  const group = newId();
  const inputs = new Map();
  const node = element('div', { className, role: 'radiogroup', 'aria-label': label });
  for (const [value, text] of options) {
    const input = element('input', { type: 'radio', name: group, id: newId(), onchange: () => onChoose(value) });
    inputs.set(value, input);
    node.append(element('span', {}, input, element('label', { htmlFor: input.id }, text)));
  }
  return {
    node,
    show(value) {
      for (const [other, input] of inputs) {
        input.checked = other === value;
      }
    },
  };
}

class Row {
  constructor(setting, context) {
    this.setting = setting;
    this.context = context;
    this.value = setting.initial;
    this.touched = -Infinity;
    this.label = element('label', { className: 'label', title: `${setting.name}: ${setting.effect}` },
      title(setting.name));
    this.text = element('output', { className: 'value' });
    const back = `back to ${valueText(setting, setting.initial)}`;
    this.reset = button('↺', () => this.put(setting.initial),
      { className: 'reset', title: back, ariaLabel: `${title(setting.name)}: ${back}` });
    this.note = element('p', { className: 'note', id: newId() });
    this.control = this.makeControl();
    this.node = element('div', { className: `row of-${this.form}` }, this.label, this.control, this.text, this.reset,
      this.note);
    this.node.dataset.setting = setting.name;
    this.send = latestOnly((camera, value) => this.request(camera, value));
  }

  makeControl() {
    const { setting } = this;
    this.form = formOf(setting);
    const described = { 'aria-describedby': this.note.id };
    if (this.form === 'action') {
      this.input = button(setting.name === 'wb_mode_onepush' ? 'Measure' : 'Apply', () => this.put(), described);
      this.progress = element('progress', { max: 1, value: 0, hidden: true, 'aria-label': 'Progress' });
      return element('span', { className: 'control' }, this.input, this.progress);
    }
    if (this.form === 'switch') {
      const on = setting.names.find((known) => known.name === 'on').value;
      const off = setting.names.find((known) => known.name === 'off').value;
      this.input = element('input', {
        type: 'checkbox', className: 'switch', role: 'switch', id: newId(), ...described,
        onchange: () => this.put(this.input.checked ? on : off),
      });
      this.label.htmlFor = this.input.id;
      this.showControl = (value) => { this.input.checked = value === on; };
      return element('span', { className: 'control' }, this.input);
    }
    if (this.form === 'choice' || this.form === 'styles') {
      const names = setting.names.every(({ name }) => Number(name) > 0)
        ? [...setting.names].sort((a, b) => a.name - b.name) : setting.names;
      const made = choice(title(setting.name), names.map(({ name, value }) => [value, readable(name)]),
        (value) => this.put(value));
      made.node.setAttribute('aria-describedby', this.note.id);
      this.showControl = made.show;
      return made.node;
    }
    const number = this.form === 'number';
    this.input = element('input', {
      type: number ? 'number' : 'range', min: setting.lowest, max: setting.highest, step: 1, id: newId(), ...described,
      [number ? 'onchange' : 'oninput']: () => this.put(Number(this.input.value)),
    });
    this.label.htmlFor = this.input.id;
    if (number) {
      this.showControl = (value) => { this.input.value = value; };
      return element('span', { className: 'control' }, this.input);
    }
    this.showControl = (value) => {
      this.input.value = value;
      this.input.ariaValueText = element('span', {}, ...shownValue(setting, value)).textContent.trim();
    };
    const mark = element('i', { className: 'initial', title: `initially ${valueText(setting, setting.initial)}` });
    mark.style.setProperty('--at', (setting.initial - setting.lowest) / (setting.highest - setting.lowest));
    return element('span', { className: 'control ranged' }, this.input, mark);
  }

  put(value) {
    this.touched = performance.now();
    if (value !== undefined && this.showControl) {
      this.showControl(value);
      this.text.replaceChildren(...shownValue(this.setting, value));
    }
    this.send(this.context.camera(), value);
  }

  async request(camera, value) {
    const { setting } = this;
    const slow = setting.name === 'wb_mode_onepush';
    this.node.classList.add('sending');
    const progress = slow ? this.context.progress(this.progress, ONE_PUSH_SECONDS) : null;
    try {
      const { result, stored, text } = await putSetting(camera, setting.name, value);
      this.tell(sentence(text || (setting.kind === 'action' ? 'done' : '')), result === 0 ? '' : result === -1 ? 'bad' : 'warn');
      if (stored !== null && camera === this.context.camera()) {
        this.value = stored;
      }
    } catch (error) {
      this.tell(error.message, 'bad');
    }
    progress?.end();
    this.node.classList.remove('sending');
    this.showLater(200);
  }

  tell(text, kind = '') {
    this.message = text;
    this.messageKind = kind;
    this.showNote();
    if (text) {
      say(`${title(this.setting.name)}: ${text}`);
      clearTimeout(this.timer);
      this.timer = setTimeout(() => { this.message = ''; this.showNote(); }, 12000);
    }
  }

  showNote() {
    const reason = this.reason ?? '';
    this.note.textContent = this.message || reason;
    this.note.className = `note ${this.message ? this.messageKind : ''}`;
  }

  /** Shows the value, but not under the hand of who moves the control: so many milliseconds after. */
  showLater(pause) {
    clearTimeout(this.later);
    const left = pause - (performance.now() - this.touched);
    if (left > 0) {
      this.later = setTimeout(() => this.showValue(), left);
    } else {
      this.showValue();
    }
  }

  showValue() {
    const { setting } = this;
    if (this.showControl) {
      this.showControl(this.value);
      this.text.replaceChildren(...(this.form === 'slider' ? shownValue(setting, this.value) : []));
    }
    this.node.classList.toggle('changed', this.value !== setting.initial);
  }

  show(record) {
    const { setting } = this;
    this.value = record[setting.name] ?? this.value;
    this.showLater(400);
    this.reason = hasNoEffect(setting) ? '' : reasonOf(setting, record, this.context.settings);
    this.node.classList.toggle('unused', Boolean(this.reason) && setting.kind !== 'action');
    if (!setting.shown && !hasNoEffect(setting)) {
      this.reason ||= 'not shown by the simulated picture';
    }
    if (setting.name === 'exposure_mode' && valueText(setting, record.exposure_mode) === 'smart') {
      const { follows } = this.context;
      this.reason = follows === null ? 'No camera is followed here: exposure stays as it is.' : `Follows camera ${follows}.`;
    }
    this.showNote();
  }
}

function section(heading, ...children) {
  return element('section', { className: 'group' }, element('h3', {}, heading), ...children);
}

function simpleRow(label, control, value = '') {
  return element('div', { className: 'row' }, label, control, value);
}

function switchRow(label, onChange) {
  const input = element('input', {
    type: 'checkbox', className: 'switch', role: 'switch', id: newId(), onchange: () => onChange(input.checked),
  });
  return {
    node: simpleRow(element('label', { className: 'label', htmlFor: input.id }, label),
      element('span', { className: 'control' }, input)),
    show(on) { input.checked = on; },
  };
}

/** A button that asks for a file. */
function picker(text, accept, onFile) {
  const input = element('input', {
    type: 'file', accept, className: 'visually-hidden',
    onchange: () => {
      onFile(input.files[0]);
      input.value = '';
    },
  });
  return element('label', { className: 'picker' }, text, input);
}

/** A slider for what is no setting: sends a command line. `show` follows what happens elsewhere. */
function commandSlider(label, range, line, text) {
  const output = element('output', { className: 'value' });
  const note = element('p', { className: 'note', id: newId() });
  let touched = -Infinity;
  const send = latestOnly(async (value) => {
    try {
      await runCommand(line(value));
      note.textContent = '';
    } catch (error) {
      note.textContent = error.message;
      note.className = 'note bad';
      say(error.message);
    }
  });
  const input = element('input', {
    type: 'range', ...range, id: newId(), 'aria-describedby': note.id,
    oninput: () => {
      touched = performance.now();
      output.textContent = text(Number(input.value));
      input.ariaValueText = output.textContent;
      send(Number(input.value));
    },
  });
  output.textContent = text(Number(input.value));
  return {
    node: element('div', { className: 'row' }, element('label', { className: 'label', htmlFor: input.id }, label),
      element('span', { className: 'control ranged' }, input), output, note),
    show(value) {
      if (performance.now() - touched > 1500) {
        input.value = value;
        output.textContent = text(Number(input.value));
        input.ariaValueText = output.textContent;
      }
    },
  };
}

export class Controls {
  constructor({ choiceNode, tabsNode, pagesNode, list, onCamera }) {
    this.list = list;
    this.settings = new Map(list.settings.map((setting) => [setting.name, setting]));
    this.records = new Map();
    this.camera = 0;
    this.rows = [];
    this.time = 0;
    this.running = new Set();
    this.onCamera = onCamera;
    this.choiceNode = choiceNode;
    this.context = {
      settings: this.settings,
      camera: () => this.camera,
      progress: (bar, seconds) => this.progress(bar, seconds),
    };
    const pages = [
      ...Object.entries(TABS).map(([group, text]) => [text, this.settingsPage((of) => of === group)]),
      ['Scene', this.scenePage()],
      ['Tools', this.toolsPage()],
    ];
    this.makeTabs(tabsNode, pagesNode, pages);
  }

  makeTabs(tabsNode, pagesNode, pages) {
    const tabs = pages.map(([text, page], i) => {
      page.id = `page${i}`;
      page.setAttribute('role', 'tabpanel');
      page.setAttribute('aria-label', text);
      return element('button', {
        type: 'button', role: 'tab', 'aria-controls': page.id, onclick: () => open(i),
        onkeydown: (event) => {
          const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
          if (step) {
            open((i + step + pages.length) % pages.length, true);
          }
        },
      }, text);
    });
    const open = (chosen, focus) => {
      tabs.forEach((tab, i) => {
        tab.setAttribute('aria-selected', String(i === chosen));
        tab.tabIndex = i === chosen ? 0 : -1;
        pages[i][1].hidden = i !== chosen;
      });
      if (focus) {
        tabs[chosen].focus();
      }
    };
    tabsNode.append(...tabs);
    pagesNode.append(...pages.map(([, page]) => page));
    open(0);
  }

  settingsPage(belongs) {
    const page = element('div', { className: 'page' });
    const idle = element('details', { className: 'group' }, element('summary', {}, 'Kept or accepted, without effect'));
    for (const setting of this.list.settings) {
      if (!belongs(setting.group) || setting.kind === 'none') {
        continue;
      }
      const row = new Row(setting, this.context);
      this.rows.push(row);
      if (setting.name === 'style') {
        page.prepend(row.node);
      } else {
        (hasNoEffect(setting) ? idle : page).append(row.node);
      }
    }
    if (idle.children.length > 1) {
      page.append(idle);
    }
    return page;
  }

  /** Shows in a note what an action answers, or why it was refused. */
  async attempt(action, note) {
    try {
      const text = (await action()).trim();
      note.replaceChildren(...(text ? linked(text) : []));
      note.className = 'note';
    } catch (error) {
      note.textContent = error.message;
      note.className = 'note bad';
      say(error.message);
    }
  }

  /** Runs a command of the prompt. */
  command(line, note) {
    return this.attempt(async () => (await runCommand(line)).output, note);
  }

  scenePage() {
    const offers = this.list.offers;
    const note = element('p', { className: 'note', 'aria-live': 'polite' });
    const over = element('select', { 'aria-label': 'Time in which the luminance is reached' },
      ...['at once', '2s', '10s', '30s'].map((text) => element('option', { value: text === 'at once' ? '' : text },
        text === 'at once' ? text : `in ${text.slice(0, -1)} s`)));
    this.scene = choice('Scene', offers.scenes.map((name) => [name, title(name)]),
      (name) => this.command(`scene ${this.camera} ${name}`, note), 'pills tiles');
    this.luminance = commandSlider('Luminance, cd/m²', { min: DARKEST, max: 4.7, step: 0.05, value: 2 },
      (value) => `scene ${this.camera} ${luminanceAt(value)} ${over.value}`.trim(),
      (value) => (value >= 3 ? `${(10 ** value / 1000).toFixed(1)} k` : String(luminanceAt(value))));
    this.light = commandSlider('Light, K', { min: 2000, max: 10000, step: 100, value: 5000 },
      (value) => `illuminant ${this.camera} ${value}`, (value) => String(value));
    this.zoom = commandSlider('Zoom', { min: 0, max: offers.zoom_longest, step: 50, value: 0 },
      (value) => `zoom ${value}`, (value) => String(value));
    this.iris = commandSlider('Iris position', { min: 0, max: offers.iris_widest, step: 5, value: offers.iris_widest },
      (value) => `iris to ${value}`, (value) => String(value));
    this.autoIris = switchRow('Automatic iris', (on) => this.command(`iris auto ${on ? 'on' : 'off'}`, note));
    this.moving = switchRow('Moving', (on) => this.command(`scene ${this.camera} ${this.sceneName}${on ? ' moving' : ''}`, note));
    this.mains = choice('Mains', [[50, '50 Hz'], [60, '60 Hz'], [0, 'off']],
      (hertz) => this.command(`mains ${this.camera} ${hertz || 'off'}`, note));
    const show = async (file) => {
      const name = file.name.replace(/[^\w.-]/g, '_');
      await putFile(name, file);
      return (await runCommand(`scene ${this.camera} ${name}`)).output;
    };
    return element('div', { className: 'page' },
      section('Scene in front of the camera', this.scene.node, this.moving.node,
        picker('Photograph…', 'image/png,image/jpeg', (file) => this.attempt(() => show(file), note))),
      section('Light', this.luminance.node, simpleRow(element('span', { className: 'label' }, 'is reached'), over),
        this.light.node,
        simpleRow(element('span', { className: 'label' }, 'Lamp'), element('span', { className: 'buttons' },
          ...offers.illuminants.map((name) => button(name, () => this.command(`illuminant ${this.camera} ${name}`, note))))),
        simpleRow(element('span', { className: 'label' }, 'Mains'), this.mains.node)),
      section('Lens of camera 0', this.zoom.node, this.iris.node,
        this.autoIris.node),
      note);
  }

  toolsPage() {
    const offers = this.list.offers;
    const notes = [0, 1, 2, 3].map(() => element('p', { className: 'note', 'aria-live': 'polite' }));
    [, , this.switchNote] = notes;
    const calibrate = (text, which) => {
      const bar = element('progress', { max: 1, value: 0, hidden: true, 'aria-label': 'Progress' });
      const start = button(text, async () => {
        const progress = this.progress(bar, CALIBRATION_SECONDS);
        start.disabled = true;
        await this.command(`calibrate ${which}`, notes[0]);
        start.disabled = false;
        progress.end();
      });
      return element('div', { className: 'buttons' }, start, bar);
    };
    const fault = {
      name: element('input', { id: newId(), value: offers.functions[0] ?? '', autocomplete: 'off', spellcheck: false }),
      nth: element('input', { id: newId(), type: 'number', min: 1, max: 1000000, value: 1 }),
      code: element('input', { id: newId(), type: 'number', min: -32768, max: 32767, value: -1 }),
      always: element('input', { id: newId(), type: 'checkbox', className: 'switch', role: 'switch' }),
    };
    const tried = (text, action) => button(text, () => this.attempt(action, notes[3]));
    const download = (href, name) => element('a', { href, download: name }).click() ?? '';
    const kept = element('datalist', { id: newId() });
    const look = element('input', {
      id: newId(), autocomplete: 'off', spellcheck: false, list: kept.id, placeholder: 'name',
      onfocus: async () => kept.replaceChildren(...(await getFiles()).filter((name) => name.endsWith('.look'))
        .map((name) => element('option', { value: name.slice(0, -5) }))),
    });
    const withLook = (command) => async () => (await runCommand(`${command} ${this.camera} ${look.value.trim()}.look`)).output;
    const take = async (file) => {
      await putSettings(this.camera, file);
      return `camera ${this.camera} has the settings of ${file.name}`;
    };

    const names = element('datalist', { id: newId() }, ...offers.functions.map((name) => element('option', { value: name })));
    fault.name.setAttribute('list', names.id);
    const field = (text, input) => element('div', { className: 'row' },
      element('label', { className: 'label', htmlFor: input.id }, text), element('span', { className: 'control' }, input));
    return element('div', { className: 'page' },
      section('Cameras',
        element('div', { className: 'buttons wrap', id: 'camera-switches' }), notes[2]),
      section('Looks and pictures of this camera',
        field('Look', look), kept,
        element('div', { className: 'buttons' }, tried('Keep', withLook('save')), tried('Apply', withLook('load')),
          button('Export', () => download(`api/cameras/${this.camera}/settings`, `camera${this.camera}.json`)),
          picker('Import…', '.json', (file) => this.attempt(() => take(file), notes[3]))),
        element('div', { className: 'buttons' },
          tried('Picture as PNG', async () => (await runCommand(`render ${this.camera} camera${this.camera}.png`)).output),
          button('as JPEG', () => download(`api/cameras/${this.camera}/picture.jpg?width=1280`, `camera${this.camera}.jpg`))),
        notes[3]),
      section('White-balance calibration of cameras 0, 2 and 3',
        calibrate('1. Measure D65', 'd65'), calibrate('2. Measure A', 'a'),
        element('div', { className: 'buttons' },
          button('Follow camera 3', () => this.command('follow wb on', notes[0])),
          button('Stop following', () => this.command('follow wb off', notes[0]))),
        notes[0]),
      section('Make a call of the engine or host fail', names, field('Function', fault.name),
        field('Its call, from now', fault.nth), field('Code', fault.code), field('And all later calls', fault.always),
        element('div', { className: 'buttons' },
          button('Inject', () => this.command(`fault ${fault.name.value} ${fault.nth.value} ${fault.code.value}` +
            (fault.always.checked ? ' always' : ''), notes[1])),
          button('Clear all', () => this.command('fault clear', notes[1]))),
        notes[1]),
      section('Other settings', ...this.settingsPage((group) => !(group in TABS)).children));
  }

  /** A bar that fills with simulated time. */
  progress(bar, seconds) {
    const started = this.time;
    const running = { step: () => { bar.value = Math.min(1, (this.time - started) / seconds); } };
    bar.hidden = false;
    bar.value = 0;
    this.running.add(running);
    return {
      end: () => {
        this.running.delete(running);
        bar.hidden = true;
      },
    };
  }

  /** Which cameras there are; the buttons that start and stop them. */
  showCameras(states) {
    const lives = states.map((state) => state.state).join();
    if (lives === this.lives) {
      return;
    }
    this.lives = lives;
    const there = states.filter((state) => state.state !== 'none');
    this.choice = choice('Camera', there.map(({ id }) => [id, `Camera ${id}`]), (id) => this.onCamera(id));
    this.choice.show(this.camera);
    this.choiceNode.replaceChildren(...this.choice.node.children);
    document.getElementById('camera-switches').replaceChildren(...states.map(({ id, state }) => {
      const [name, text] = state === 'running' ? ['release', 'Release'] : ['start', 'Start'];
      return button(`${text} ${id}`, () => this.command(`${name} ${id}`, this.switchNote));
    }));
  }

  select(camera) {
    this.camera = camera;
    this.choice?.show(camera);
    for (const row of this.rows) {
      row.touched = -Infinity;
      row.message = '';
    }
    this.showRecord();
  }

  showSettings({ camera, settings }) {
    this.records.set(camera, { ...this.records.get(camera), ...settings });
    if (camera === this.camera) {
      this.showRecord();
    }
  }

  showRecord() {
    const record = this.records.get(this.camera);
    if (record) {
      for (const row of this.rows) {
        row.show(record);
      }
    }
  }

  showState(state) {
    this.time = state.time;
    for (const running of this.running) {
      running.step();
    }
    this.showCameras(state.cameras);
    const camera = state.cameras[this.camera];
    if (this.context.follows !== camera.follows) {
      this.context.follows = camera.follows;
      this.showRecord();
    }
    this.light.show(camera.illuminant);
    this.zoom.show(state.zoom_target);
    this.iris.show(state.iris_target);
    this.autoIris.show(state.auto_iris);
    this.moving.show(camera.moving);
    this.mains.show(camera.mains);
    this.sceneName = camera.scene;
    this.luminance.show(Math.max(Math.log10(camera.luminance), DARKEST));
    this.scene.show(camera.scene);
  }
}
