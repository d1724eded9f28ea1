// Push with its verdict, and what differs between defaults, registry and DSP.
import { byId, debounced, el, onPress } from './dom.js';
import { endpointGet, endpointSend } from './api.js';
import { modeName, on, state, tell } from './state.js';
import { textOf } from './values.js';

function table(heads, lines) {
  return el(
    'div',
    { class: 'scroll', tabindex: 0, role: 'region', 'aria-label': heads.join(', ') },
    el(
      'table',
      {},
      el('thead', {}, el('tr', {}, ...heads.map((head) => el('th', { scope: 'col' }, head)))),
      el(
        'tbody',
        {},
        ...lines.map((cells) =>
          el('tr', {}, ...cells.map((cell) => el('td', {}, cell == null ? '–' : String(cell)))),
        ),
      ),
    ),
  );
}

const plain = (value) =>
  value !== null && typeof value === 'object' ? (value.text ?? JSON.stringify(value)) : value;

function showPush({ verdict, blocks, differences }) {
  const faults = new Map(differences.map((difference) => [difference.block, difference]));
  byId('push-result').replaceChildren(
    el('p', { class: differences.length ? 'problem' : 'good' }, `${blocks.length} blocks: ${verdict}.`),
    differences.length
      ? table(
          ['Block', 'Control', 'Sent', 'Read'],
          differences.map((one) => [one.block, one.control, plain(one.sent), plain(one.read)]),
        )
      : '',
    el(
      'details',
      {},
      el('summary', {}, 'Block by block'),
      table(
        ['Block', 'Verdict'],
        blocks.map((block) => [block, faults.has(block) ? 'differs' : verdict]),
      ),
    ),
  );
}

async function loadDrift() {
  const { endpoint } = state;
  const place = byId('drift');
  try {
    const lines = await endpointGet(endpoint, 'drift');
    if (endpoint !== state.endpoint) return;
    const own = (one, value) =>
      typeof value === 'number' && state.controls.has(one.name)
        ? textOf(state.controls.get(one.name), value)
        : plain(value);
    place.replaceChildren(
      lines.length === 0
        ? el('p', { class: 'quiet' }, 'Defaults, registry and DSP agree.')
        : table(
            ['Mode', 'Control', 'Default', 'Registry', 'DSP'],
            lines.map((one) => [
              modeName(one.mode),
              one.name,
              own(one, one.default),
              own(one, one.registry),
              own(one, one.dsp),
            ]),
          ),
    );
  } catch (error) {
    place.replaceChildren(el('p', { class: 'problem' }, error.message));
  }
}

export function start() {
  const driftAgain = debounced(loadDrift, 400);
  onPress(
    byId('push'),
    async () => {
      showPush(await endpointSend('POST', state.endpoint, 'push', { query: { mode: state.mode } }));
      tell('pushed');
    },
    (message) => byId('push-result').replaceChildren(message ? el('p', { class: 'problem' }, message) : ''),
  );
  for (const topic of ['endpoint', 'controls', 'value', 'pushed', 'mode']) on(topic, driftAgain);
  on('endpoint', () => byId('push-result').replaceChildren());
}
