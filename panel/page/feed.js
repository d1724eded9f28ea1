// Who changed what, the newest first, and undo.
import { byId, el, onPress } from './dom.js';
import { endpointGet, endpointSend, ownClient } from './api.js';
import { modeName, on, state } from './state.js';

const kKept = 200;

function source(origin) {
  if (origin === ownClient()) return 'this page';
  return origin === 'other' ? 'another program' : 'another page';
}

function add(change) {
  const name = state.endpoints.find((one) => one.id === change.endpoint)?.name ?? '';
  const where = [change.endpoint === state.endpoint ? '' : name, change.mode ? modeName(change.mode) : '']
    .filter(Boolean)
    .join(', ');
  const when = new Date(change.time);
  byId('feed').prepend(
    el(
      'li',
      {},
      el('time', { datetime: change.time }, when.toLocaleTimeString()),
      `${change.name}: ${change.from_text ?? '–'} → `,
      el('strong', {}, String(change.to_text ?? '–')),
      el('span', { class: 'quiet' }, ` ${where ? `(${where}) ` : ''}by ${source(change.origin)}`),
    ),
  );
  while (byId('feed').children.length > kKept) byId('feed').lastElementChild.remove();
  countUndo();
}

async function countUndo() {
  const { endpoint } = state;
  const kept = await endpointGet(endpoint, 'undo').catch(() => []);
  if (endpoint !== state.endpoint) return;
  const last = kept[0];
  byId('undo').disabled = state.readOnly || !last;
  byId('undo').textContent = last ? `Undo ${last.command}` : 'Nothing to undo';
}

export function start() {
  on('change', add);
  on('read', countUndo);
  onPress(
    byId('undo'),
    async () => {
      const taken = await endpointSend('POST', state.endpoint, 'undo');
      byId('undo-result').textContent =
        taken.length === 1 ? '1 change was taken back.' : `${taken.length} changes were taken back.`;
      setTimeout(countUndo);
    },
    (message) => (byId('undo-result').textContent = message),
  );
}
