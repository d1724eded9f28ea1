// Elements without markup in strings: what comes from the machine is only ever text.

export const byId = (id) => document.getElementById(id);

// el('button', { type: 'button', onclick: f }, 'Text', child): names that begin with "on" are
// listeners, booleans are attributes that are there or not.
export function el(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (name.startsWith('on')) element.addEventListener(name.slice(2), value);
    else if (value === true) element.setAttribute(name, '');
    else if (value !== false && value != null) element.setAttribute(name, value);
  }
  element.append(...children.filter((child) => child != null));
  return element;
}

// What has the focus may be replaced, or disabled while its work runs: the focus then returns to the
// element with its id, unless the user has gone elsewhere.
let focused = '';
addEventListener('focusin', ({ target }) => (focused = target.id));
addEventListener('pointerdown', () => (focused = ''));
new MutationObserver(() => {
  if (focused && document.activeElement === document.body) byId(focused)?.focus();
}).observe(document.body, { childList: true, subtree: true, attributeFilter: ['disabled'] });

// Runs `work` once the calls have paused for `pause` milliseconds.
export function debounced(work, pause) {
  let timer = 0;
  return () => {
    clearTimeout(timer);
    timer = setTimeout(work, pause);
  };
}

// A button is disabled while its work runs; `report` gets the message if it fails.
export function onPress(button, work, report) {
  button.addEventListener('click', async () => {
    button.disabled = true;
    report('');
    try {
      await work();
    } catch (error) {
      report(error.message);
    } finally {
      button.disabled = false;
    }
  });
}

// The colour of the theme in force.
export const colour = (name) =>
  getComputedStyle(document.documentElement).getPropertyValue(`--${name}`).trim();

// A canvas at the density of the display, cleared; returns its context, width and height.
export function freshCanvas(canvas) {
  const { width, height } = canvas.getBoundingClientRect();
  const density = window.devicePixelRatio || 1;
  const [pixels, lines] = [Math.round(width * density), Math.round(height * density)];
  if (canvas.width !== pixels || canvas.height !== lines) {
    canvas.width = pixels;
    canvas.height = lines;
  }
  const context = canvas.getContext('2d');
  context.setTransform(density, 0, 0, density, 0, 0);
  context.clearRect(0, 0, width, height);
  return { context, width, height };
}
