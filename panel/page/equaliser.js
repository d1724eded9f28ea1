// Equaliser lists into the shown mode and out of it.
import { byId, el, onPress } from './dom.js';
import { endpointGet, endpointSend } from './api.js';
import { modeName, state } from './state.js';

function say(...parts) {
  const place = byId('import-preview');
  if (place.contains(document.activeElement)) byId('import-file').focus();
  place.replaceChildren(...parts);
}
const problem = (message) => say(message ? el('p', { class: 'problem' }, message) : '');

function send(text, dryRun) {
  return endpointSend('PUT', state.endpoint, 'eq', {
    text,
    query: { mode: state.mode, channel: byId('band-channel').value, dry_run: dryRun ? '1' : '' },
  });
}

// Shows what the list would change before anything is changed.
async function preview([file]) {
  problem('');
  if (!file) return;
  const { name } = file;
  const text = await file.text();
  try {
    const { changes, misfits } = await send(text, true);
    const misses = misfits.map(({ line, reason }) => el('li', {}, `Line ${line}: ${reason}`));
    const go = el('button', { type: 'button', class: 'primary' }, 'Import');
    onPress(
      go,
      async () => {
        await send(text, false).finally(() => byId('import-file').focus());
        say(el('p', { class: 'good' }, `${name} is in the mode's bands.`));
      },
      (message) => message && problem(message),
    );
    say(
      el(
        'p',
        {},
        changes.length === 0
          ? `${name} changes nothing: the bands have these values.`
          : `${name} changes ${changes.length} controls of ${modeName(state.mode)}.`,
      ),
      misses.length ? el('p', {}, 'Stored at the nearest value, or left out:') : '',
      el('ul', {}, ...misses),
      el(
        'div',
        { class: 'row' },
        changes.length ? go : '',
        el('button', { type: 'button', onclick: () => say() }, 'Cancel'),
      ),
    );
  } catch (error) {
    problem(`${name}: ${error.message}`);
  }
}

export function start() {
  const plot = document.querySelector('#response .plot');
  byId('import-preview').addEventListener('keydown', ({ key }) => key === 'Escape' && say());
  byId('import-file').addEventListener('change', async ({ target }) => {
    await preview(target.files);
    target.value = '';
  });
  for (const kind of ['dragenter', 'dragover'])
    plot.addEventListener(kind, (event) => {
      event.preventDefault();
      plot.classList.add('drop');
    });
  plot.addEventListener('dragleave', () => plot.classList.remove('drop'));
  plot.addEventListener('drop', async (event) => {
    event.preventDefault();
    plot.classList.remove('drop');
    await preview(event.dataTransfer.files);
  });
  onPress(
    byId('export'),
    async () => {
      const text = await endpointGet(state.endpoint, 'eq', { mode: state.mode });
      const link = el('a', {
        href: URL.createObjectURL(new Blob([text], { type: 'text/plain' })),
        download: `${modeName(state.mode).replace('/', '-')}.txt`,
      });
      link.click();
      URL.revokeObjectURL(link.href);
    },
    problem,
  );
}
