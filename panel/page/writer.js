// Changes of controls on their way to the registry. One request at a time: what one gesture changes
// while it runs goes together into the next one, so that a dragged slider never builds up a queue.
import { endpointSend, Refused } from './api.js';
import { state, tell } from './state.js';

const waiting = []; // { endpoint, mode, gesture, values: name -> a number of steps, or a text as typed }
let running = null;
const sent = new Set();

export const isPending = (name) => sent.has(name) || waiting.some(({ values }) => values.has(name));

// The steps of one gesture are taken back by one undo: a drag until the hand lets go, and turns of
// the wheel and presses of keys that follow one another within a second.
const kPause = 1000; // milliseconds
let last = { about: '', token: '', ended: true, time: 0 };
export function gestureOf(about, ended = false) {
  const now = performance.now();
  const goesOn = about === last.about && (!last.ended || now - last.time < kPause);
  last = { about, token: goesOn ? last.token : `${Date.now()}.${Math.random()}`, ended, time: now };
  return last.token;
}
for (const end of ['pointerup', 'pointercancel', 'keyup'])
  addEventListener(end, () => (last.ended = true), true);

export function write(changes, gesture = '') {
  const { endpoint, mode } = state;
  let batch = waiting.at(-1);
  if (batch?.endpoint !== endpoint || batch.mode !== mode || batch.gesture !== gesture)
    waiting.push((batch = { endpoint, mode, gesture, values: new Map() }));
  for (const [name, value] of Object.entries(changes)) {
    batch.values.set(name, value);
    tell('pending', name);
  }
  running ??= sendAll().finally(() => (running = null));
  return running;
}

async function sendAll() {
  while (waiting.length > 0) {
    const batch = waiting.shift();
    const entries = [...batch.values];
    for (const [name] of entries) sent.add(name);
    try {
      await store(batch, entries);
    } catch (error) {
      // All or nothing: which of them is at fault shows when they go one by one.
      for (const one of entries.length > 1 && error instanceof Refused ? entries : [])
        await store(batch, [one]).catch((reason) =>
          tell('refused', { name: one[0], reason: reason.message }),
        );
      if (entries.length === 1 || !(error instanceof Refused))
        for (const [name] of entries) tell('refused', { name, reason: error.message });
    } finally {
      for (const [name] of entries) {
        sent.delete(name);
        tell('settled', name);
      }
    }
  }
}

async function store({ endpoint, mode, gesture }, entries) {
  const answer = await endpointSend('PUT', endpoint, 'controls', {
    query: { mode },
    body: Object.fromEntries(entries),
    gesture,
  });
  if (endpoint !== state.endpoint || mode !== state.mode) return;
  for (const control of Array.isArray(answer) ? answer : [answer]) tell('stored', control);
}
