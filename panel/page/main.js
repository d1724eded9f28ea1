// The page: endpoints, modes, the switch, and what keeps it all as the machine is.
import { byId, debounced, el, onPress } from './dom.js';
import * as api from './api.js';
import { modeName, on, state, tell } from './state.js';
import * as controls from './controls.js';
import * as doctor from './doctor.js';
import * as dsp from './dsp.js';
import * as equaliser from './equaliser.js';
import * as feed from './feed.js';
import * as levels from './levels.js';
import * as response from './response.js';

let endEvents = () => {};

function banner(message) {
  byId('banner').textContent = message;
  byId('banner').hidden = !message;
}

const connected = (text) => (byId('connection').textContent = text);

// What the address keeps, so that a reload and a bookmark show the same.
function remember() {
  const place = new URLSearchParams({ endpoint: state.endpoint, mode: state.mode });
  history.replaceState(null, '', `#${place}`);
}
const remembered = (name) => new URLSearchParams(location.hash.slice(1)).get(name);

function showEndpoints() {
  const kHeadsets = { connected: 'headset connected', absent: 'no headset' };
  byId('endpoints').replaceChildren(
    ...state.endpoints.map((endpoint) =>
      el(
        'li',
        {},
        el(
          'button',
          {
            type: 'button',
            id: `endpoint-${endpoint.id}`,
            'aria-current': String(endpoint.id === state.endpoint),
            onclick: () => choose(endpoint.id),
          },
          endpoint.name,
          el(
            'small',
            {},
            [endpoint.mode ? modeName(endpoint.mode) : 'no current mode', kHeadsets[endpoint.headset]]
              .filter(Boolean)
              .join(' · '),
          ),
        ),
      ),
    ),
  );
  const shown = state.endpoints.find((endpoint) => endpoint.id === state.endpoint);
  byId('main').hidden = !shown;
  if (!shown) return;
  byId('endpoint-name').textContent = shown.name;
  byId('headset').textContent = kHeadsets[shown.headset] ?? 'headset unknown';
}

function showModes() {
  const focused = byId('modes').contains(document.activeElement);
  byId('modes').replaceChildren(
    ...state.modes.map((mode) => {
      const shown = mode.name === state.mode;
      return el(
        'button',
        {
          type: 'button',
          role: 'tab',
          id: `mode-${modeName(mode.name)}`,
          'aria-selected': String(shown),
          'aria-controls': 'mode-panel',
          tabindex: shown ? 0 : -1,
          onclick: () => showMode(mode.name),
        },
        modeName(mode.name),
        mode.current ? el('span', { class: 'now' }, ' ● current') : null,
      );
    }),
  );
  byId('make-current').disabled =
    state.readOnly || state.modes.some((mode) => mode.current && mode.name === state.mode);
  byId('mode-panel').setAttribute('aria-labelledby', `mode-${modeName(state.mode)}`);
  if (focused) focusMode();
}

async function choose(endpoint) {
  state.endpoint = endpoint;
  state.mode = '';
  showEndpoints();
  tell('endpoint');
  connect();
}

async function readEndpoints() {
  state.endpoints = await api.get('endpoints');
  showEndpoints();
}

async function readModes() {
  const { endpoint } = state;
  const modes = await api.endpointGet(endpoint, 'modes');
  if (endpoint !== state.endpoint) return;
  state.modes = modes;
  if (!modes.some((mode) => mode.name === state.mode))
    state.mode = (modes.find((mode) => mode.current) ?? modes[0])?.name ?? '';
  showModes();
}

async function readSwitch() {
  const box = byId('enabled');
  const { enabled } = await api.endpointGet(state.endpoint, 'enabled');
  [box.checked, box.disabled] = [enabled, state.readOnly];
}

async function showMode(mode) {
  const before = state.mode;
  const show = (name) => {
    state.mode = name;
    showModes();
    remember();
  };
  show(mode);
  await readControls().catch((error) => {
    show(before);
    banner(error.message);
  });
}

async function readControls() {
  const { endpoint, mode } = state;
  const list = (name) => api.endpointGet(endpoint, 'controls', { mode, list: name });
  const [shown, defaults, hidden] = await Promise.all([list('public'), list('default'), list('private')]);
  if (endpoint !== state.endpoint || mode !== state.mode) return;
  state.controls = new Map(shown.map((control) => [control.name, control]));
  state.defaults = new Map(defaults.filter((one) => one.value !== null).map((one) => [one.name, one.value]));
  state.hidden = hidden;
  tell('controls');
}

// Everything that is shown, again: at the start and after each loss of the connection.
async function readAll() {
  try {
    await readEndpoints();
    if (!state.endpoints.some((one) => one.id === state.endpoint))
      return banner('The component finds no endpoint on this machine. "orvctl doctor" examines why.');
    await readModes();
    await Promise.all([readSwitch(), state.mode ? readControls() : null]);
    remember();
    tell('read');
    banner('');
  } catch (error) {
    banner(error.message);
  }
}

function store(control) {
  const known = state.controls.get(control.name);
  if (!known) return;
  Object.assign(known, control);
  tell('value', control.name);
}

function apply(change) {
  tell('change', change);
  if (change.endpoint !== state.endpoint) return;
  if (change.what === 'mode') {
    readModes().then(
      () => tell('mode'),
      () => {},
    );
    readEndpoints().catch(() => {});
  } else if (change.what === 'switch') {
    readSwitch().then(
      () => tell('enabled'),
      () => {},
    );
  } else if (change.mode === state.mode) {
    store({ name: change.name, value: change.to, text: change.to_text });
  }
}

function connect() {
  endEvents();
  endEvents = api.listen(state.endpoint, {
    hello: (data) => {
      state.readOnly = data.read_only;
      connected(data.read_only ? 'Connected, read only' : 'Connected');
      for (const id of ['default-mode', 'restore', 'push', 'import-file']) byId(id).disabled = data.read_only;
      readAll();
    },
    change: apply,
    levels: (data) => tell('levels', data),
    endpoints: debounced(() => readEndpoints().catch(() => {}), 50),
    lost: (data) => banner(`The machine cannot be read at the moment: ${data.message}`),
    found: readAll,
    end: () => banner('"orvctl serve" has ended.'),
    broken: () => connected('Connection lost, trying again'),
    retry: reconnect,
  });
}

// A browser keeps few connections to one host: a page that nobody sees gives its own back, and reads
// everything again when it is shown.
document.addEventListener('visibilitychange', () => {
  if (!state.endpoint) return;
  if (document.hidden) endEvents();
  else connect();
});

// The stream does not say why it was refused; a request does.
async function reconnect() {
  try {
    await api.get('about');
    connect();
  } catch (error) {
    banner(error.message);
    setTimeout(reconnect, 2000);
  }
}

const focusMode = () => byId('modes').querySelector('[aria-selected=true]')?.focus();
// Arrow keys move among the tabs, as everywhere.
byId('modes').addEventListener('keydown', (event) => {
  const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
  if (!step) return;
  const tabs = [...byId('modes').children];
  const next = tabs[(tabs.indexOf(document.activeElement) + step + tabs.length) % tabs.length];
  next.click();
});
byId('enabled').addEventListener('change', async ({ target }) => {
  target.disabled = true;
  await api
    .endpointSend('PUT', state.endpoint, 'enabled', { body: { enabled: target.checked } })
    .catch((error) => banner(error.message));
  await readSwitch().catch(() => {});
});
const sendMode = (body) => api.endpointSend('PUT', state.endpoint, 'mode', { body }).then(readModes);
// The button has nothing to do then.
onPress(byId('make-current'), () => sendMode({ name: state.mode }).then(focusMode), banner);
onPress(byId('default-mode'), () => sendMode({ default: true }), banner);
on('stored', store);

for (const part of [controls, response, equaliser, levels, dsp, feed, doctor]) part.start();

async function begin() {
  try {
    const { machine, version } = await api.get('about');
    byId('machine').textContent = machine;
    document.title = `${machine} – orvctl ${version}`;
    await readEndpoints();
    const wanted = remembered('endpoint');
    state.endpoint = (state.endpoints.find((one) => one.id === wanted) ?? state.endpoints[0])?.id ?? '';
    state.mode = remembered('mode') ?? '';
    showEndpoints();
    if (state.endpoint) tell('endpoint');
    connect();
  } catch (error) {
    banner(error.message);
    setTimeout(begin, 2000);
  }
}
begin();
