// What the page shows, and who wants to know when it changes.

export const state = {
  readOnly: false,
  endpoints: [],
  endpoint: '', // identifier
  modes: [],
  mode: '', // the mode that is shown
  controls: new Map(), // public ones by name, as the service describes them
  defaults: new Map(), // default values by name
  hidden: [], // private controls
};

const listeners = new Map();

export function on(topic, listener) {
  if (!listeners.has(topic)) listeners.set(topic, []);
  listeners.get(topic).push(listener);
}
export function tell(topic, detail) {
  for (const listener of listeners.get(topic) ?? []) listener(detail);
}

export const modeName = (name) => name.replace(/^ApoOpMode:/, '');
