// Is processing really active, and if not, what to do.
import { byId, el, onPress } from './dom.js';
import { endpointGet } from './api.js';
import { on, state } from './state.js';

async function examine() {
  const { endpoint } = state;
  const checks = await endpointGet(endpoint, 'doctor');
  if (endpoint !== state.endpoint) return;
  const bad = checks.filter((check) => !check.ok);
  byId('doctor').replaceChildren(
    el(
      'p',
      { class: bad.length ? 'problem' : 'good' },
      bad.length
        ? `${bad.length} of ${checks.length} checks found a problem.`
        : `All ${checks.length} checks are ok.`,
    ),
    ...bad.map((check) =>
      el(
        'div',
        {},
        el('strong', {}, check.check),
        el('p', {}, check.detail),
        check.remedy ? el('p', {}, el('code', {}, check.remedy)) : '',
      ),
    ),
    el(
      'details',
      {},
      el('summary', {}, 'All checks'),
      el(
        'table',
        {},
        el(
          'tbody',
          {},
          ...checks.map((check) =>
            el(
              'tr',
              {},
              el('td', {}, check.ok ? 'ok' : 'NO'),
              el('th', { scope: 'row' }, check.check),
              el('td', {}, check.detail),
            ),
          ),
        ),
      ),
    ),
  );
}

export function start() {
  const report = (message) =>
    message && byId('doctor').replaceChildren(el('p', { class: 'problem' }, message));
  const again = () => examine().catch((error) => report(error.message));
  onPress(byId('examine'), examine, report);
  for (const topic of ['endpoint', 'mode', 'enabled', 'pushed']) on(topic, again);
}
