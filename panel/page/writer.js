// Changes of controls on their way to the registry. One request at a time: what is changed while it
// runs goes together into the next one, so that a dragged slider never builds up a queue.
import { endpointSend, Refused } from './api.js';
import { state, tell } from './state.js';

let waiting = new Map(); // name -> a number of the control's steps, or a text as typed
let place = null; // the endpoint and mode of what waits
let running = null;
const sent = new Set();

export const isPending = (name) => waiting.has(name) || sent.has(name);

export function write(changes) {
  const here = { endpoint: state.endpoint, mode: state.mode };
  if (place && (place.endpoint !== here.endpoint || place.mode !== here.mode)) waiting.clear();
  place = here;
  for (const [name, value] of Object.entries(changes)) {
    waiting.set(name, value);
    tell('pending', name);
  }
  running ??= sendAll().finally(() => (running = null));
  return running;
}

async function sendAll() {
  while (waiting.size > 0) {
    const [batch, target] = [[...waiting], place];
    waiting = new Map();
    for (const [name] of batch) sent.add(name);
    try {
      await store(batch, target);
    } catch (error) {
      // All or nothing: which of them is at fault shows when they go one by one.
      for (const one of batch.length > 1 && error instanceof Refused ? batch : [])
        await store([one], target).catch((reason) =>
          tell('refused', { name: one[0], reason: reason.message }),
        );
      if (batch.length === 1 || !(error instanceof Refused))
        for (const [name] of batch) tell('refused', { name, reason: error.message });
    } finally {
      for (const [name] of batch) {
        sent.delete(name);
        tell('settled', name);
      }
    }
  }
}

async function store(batch, { endpoint, mode }) {
  const answer = await endpointSend('PUT', endpoint, 'controls', {
    query: { mode },
    body: Object.fromEntries(batch),
  });
  if (endpoint !== state.endpoint || mode !== state.mode) return;
  for (const control of Array.isArray(answer) ? answer : [answer]) tell('stored', control);
}
