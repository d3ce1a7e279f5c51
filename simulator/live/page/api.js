// The server's interface: requests, and events that other modules listen to.
import { html, render } from './vendor/lit-html.js';

async function request(method, path, body) {
  const isFile = body instanceof File;
  const response = await fetch(path, {
    method,
    headers: body === undefined ? {} : { 'Content-Type': isFile ? body.type : 'application/json' },
    body: body === undefined || isFile ? body : JSON.stringify(body),
  }).catch(() => {
    throw new Error('isp-sim does not answer.');
  });
  const answer = await response.json().catch(() => ({ error: `status ${response.status}` }));
  if (!response.ok) {
    throw new Error(answer.error);
  }
  return answer;
}

export const getSettings = () => request('GET', 'api/settings');

export const putSetting = (camera, name, value) =>
  request('PUT', `api/cameras/${camera}/settings/${name}`, value === undefined ? {} : { value });

export const putSettings = (camera, record) => request('PUT', `api/cameras/${camera}/settings`, record);

const pathOf = (name) => `api/files/${encodeURIComponent(name)}`;

export const getFiles = async () => (await request('GET', 'api/files')).files;

export const putFile = (name, file) => request('PUT', pathOf(name), file);

export const runCommand = (line) => request('POST', 'api/command', { line });

/** The same where nothing is done with the answer: a refusal is said. */
export const tryCommand = (line) => runCommand(line).catch((error) => say(error.message));

/** Runs a sweep; its points, each with settings and figures. */
export const sweep = async (line) => JSON.parse(
  (await request('POST', 'api/command', { line, json: true })).output.trim().split('\n').at(-1));

/** Calls the listeners of each kind of event: state, settings, pictures, log, connection (true or false). */
export function listen(listeners) {
  let source;
  const open = () => {
    source = new EventSource('api/events');
    for (const kind of ['state', 'settings', 'pictures', 'log']) {
      source.addEventListener(kind, (event) => listeners[kind](JSON.parse(event.data)));
    }
    source.onopen = () => listeners.connection(true);
    source.onerror = () => {
      listeners.connection(false);
      if (source.readyState === EventSource.CLOSED) {
        setTimeout(open, 2000);
      }
    };
  };
  open();
  addEventListener('pagehide', () => source.close());
  addEventListener('pageshow', (event) => event.persisted && open());
}

/** Runs an action for the newest of the values that it is given, one at a time. */
export function latestOnly(action) {
  let running = false;
  let waiting = null;
  return async function call(...values) {
    waiting = values;
    if (running) {
      return;
    }
    running = true;
    while (waiting) {
      const now = waiting;
      waiting = null;
      await action(...now);
    }
    running = false;
  };
}

/** The element that a template describes. */
export function made(template) {
  const holder = document.createElement('div');
  render(template, holder);
  return holder.firstElementChild;
}

/** A command's answer with links to the files that it wrote, and their pictures. */
export function linked(text) {
  return text.split('\n').map((line) => {
    const name = /^wrote (?:.*\/)?([^/]+)$/.exec(line)?.[1];
    if (!name) {
      return `${line}\n`;
    }
    const path = pathOf(name);
    const picture = /\.(png|jpe?g)$/i.test(name) ? html`<img class="written" src="${path}?${Date.now()}" alt=${name}>` : '';
    return html`<a class="written" href=${path} download=${name}>wrote ${name}${picture}</a>`;
  });
}

// Names that say little without the documents; the others are read as they are.
const TITLES = {
  bright: 'Brightness bias', expcomp_mode: 'Compensation', expcomp_level: 'Compensation level', meter: 'Metering',
  antiflicker: 'Anti-flicker', wdr_strength: 'WDR strength', wb_mode: 'White balance', awb_sens: 'Sensitivity',
  rgain: 'Red gain', bgain: 'Blue gain', rgain_tuning: 'Red tuning', bgain_tuning: 'Blue tuning',
  ggain_tuning: 'Green tuning', rgain_onepush: 'One-push red', bgain_onepush: 'One-push blue',
  wb_mode_onepush: 'One-push', blackwhite_mode: 'Black and white', drc: 'DRC', nr2d: 'Noise reduction, 2D',
  nr3d: 'Noise reduction, temporal', gain_limit: 'Maximum gain', csc_mode: 'Colour space', shading: 'Lens shading', style: 'Image style',
  len_type: 'Lens type', ccm_style: 'Colour matrix', hotpixel: 'Hot pixels',
};

export const title = (name) => TITLES[name] ?? (name[0].toUpperCase() + name.slice(1)).replaceAll('_', ' ');

/** A value's name as people read it. */
export const readable = (name) => name.replaceAll('_', ' ').replace(/(\d)hz$/, '$1 Hz');

/** Tells users of screen readers. */
export function say(text) {
  document.getElementById('said').textContent = text;
}
