// Requests to the service and its events. Answers are those of orvctl's commands; see docs/serve.md.

// A request that was understood and refused, in the service's words.
export class Refused extends Error {}

let client = '';

// Returns the answer's JSON, or its text if that is what the service sent.
export async function request(method, path, { query = {}, body, text, gesture } = {}) {
  const url = new URL(`/api/${path}`, location.origin);
  for (const [name, value] of Object.entries(query)) if (value) url.searchParams.set(name, value);
  const headers = {};
  if (method !== 'GET') {
    headers['X-Orvctl'] = '1';
    headers['X-Orvctl-Client'] = client;
    if (gesture) headers['X-Orvctl-Gesture'] = gesture;
    headers['Content-Type'] = text === undefined ? 'application/json' : 'text/plain';
  }
  let answer;
  try {
    answer = await fetch(url, {
      method,
      headers,
      body: text ?? (method === 'GET' ? undefined : JSON.stringify(body ?? {})),
    });
  } catch {
    throw new Error('orvctl does not answer; the page goes on trying.');
  }
  const isJson = answer.headers.get('Content-Type')?.startsWith('application/json');
  const value = isJson ? await answer.json() : await answer.text();
  if (answer.ok) return value;
  if (answer.status === 401)
    throw new Refused(
      'The key of this page is not valid (any more). Open the address that "orvctl serve" printed.',
    );
  throw new Refused(
    isJson ? value.error.message.replace(/\nHelp: orvctl help.*$/, '') : `${answer.status}: ${value}`,
  );
}

const of = (endpoint) => `endpoints/${encodeURIComponent(endpoint)}`;
export const get = (path, query) => request('GET', path, { query });
export const endpointGet = (endpoint, what, query) => get(`${of(endpoint)}/${what}`, query);
export const endpointSend = (method, endpoint, what, options) =>
  request(method, `${of(endpoint)}/${what}`, options);

// Events of all endpoints, with the levels of one. The browser connects again by itself after a
// loss; `hello` comes each time, and everything shown is then read again. Returns what ends them.
export function listen(endpoint, handlers) {
  const source = new EventSource(`/api/events?endpoint=${encodeURIComponent(endpoint ?? '')}`);
  for (const [name, handle] of Object.entries(handlers)) {
    source.addEventListener(name, (event) => {
      const data = JSON.parse(event.data);
      if (name === 'hello') client = data.client;
      handle(data);
    });
  }
  let retry = 0;
  source.onerror = () => {
    handlers.broken();
    // The browser gives up after an answer that is not a stream, for example while the server starts.
    if (source.readyState === EventSource.CLOSED) retry = setTimeout(() => handlers.retry(), 1000);
  };
  return () => {
    clearTimeout(retry);
    source.close();
  };
}

export const ownClient = () => client;
