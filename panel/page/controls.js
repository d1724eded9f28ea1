// The controls of the shown mode, grouped by process: slider, switch or choice, value as text,
// default, search.
import { byId, el, onPress } from './dom.js';
import { endpointSend } from './api.js';
import { on, state } from './state.js';
import { gestureOf, isPending, write } from './writer.js';
import * as values from './values.js';

const rows = new Map(); // name -> Row
let groups = [];

// One control. `local` is what the user has chosen and the registry does not hold yet.
class Row {
  constructor(control, label) {
    this.control = control;
    this.local = null;
    const id = `c-${control.name.replace(/[^A-Za-z0-9]/g, '-')}`;
    this.problem = el('span', { class: 'problem', role: 'alert', hidden: true });
    this.back = el(
      'button',
      {
        type: 'button',
        onclick: () => {
          this.choose(state.defaults.get(control.name));
          byId(id).focus(); // this button hides
        },
      },
      '↺',
    );
    this.inputs = this.makeInputs(id);
    this.element = el(
      'div',
      { class: 'control', role: 'group', 'aria-label': control.name },
      el('label', { class: 'name', for: id, title: control.name }, label),
      ...this.inputs.elements,
      this.back,
      this.problem,
    );
    this.show();
  }

  makeInputs(id) {
    const { control } = this;
    if (values.isSwitch(control)) {
      const box = el('input', {
        id,
        type: 'checkbox',
        role: 'switch',
        onchange: () =>
          this.choose(control.choices.findIndex((_, i) => values.turnsOn(control, i) === box.checked)),
      });
      const text = el('span');
      return {
        elements: [el('label', { class: 'switch' }, text, box)],
        show: (value) => {
          box.checked = values.turnsOn(control, value);
          text.textContent = values.textOf(control, value);
        },
      };
    }
    if (control.choices.length > 1) {
      const list = el(
        'select',
        { id, class: 'wide', onchange: () => this.choose(Number(list.value)) },
        ...control.choices.map((choice, i) => el('option', { value: i }, choice)),
      );
      return { elements: [list], show: (value) => (list.value = value) };
    }
    return this.makeNumber(id);
  }

  makeNumber(id) {
    const { control } = this;
    const typed = el('input', {
      id: `${id}-value`,
      type: 'text',
      'aria-label': `${control.name}, value`,
      spellcheck: 'false',
      autocomplete: 'off',
    });
    let before = '';
    typed.addEventListener('focus', () => {
      before = typed.value;
      typed.select();
    });
    typed.addEventListener('change', () => {
      const text = typed.value.trim();
      if (text && text !== before) this.type(text);
      else this.show();
    });
    typed.addEventListener('keydown', (event) => {
      if (event.key === 'Escape') this.show((typed.value = before));
    });
    const showText = (value) => {
      if (document.activeElement !== typed || this.local === null)
        typed.value = value === null ? '–' : values.textOf(control, value);
    };
    if (!(control.min < control.max)) {
      typed.id = id;
      return { elements: [el('span'), typed], show: showText };
    }
    const slider = el('input', { id, type: 'range', step: 1, ...values.sliderRange(control) });
    slider.addEventListener('input', () =>
      this.choose(values.fromSlider(control, Number(slider.value)), gestureOf(control.name)),
    );
    const track = el('span', { class: 'slider' }, slider);
    return {
      elements: [track, typed],
      show: (value) => {
        const { min, max } = values.sliderRange(control);
        const place = state.defaults.get(control.name);
        if (place !== undefined) {
          track.style.setProperty('--default', (values.toSlider(control, place) - min) / (max - min));
          track.style.setProperty('--mark', this.differs(value) ? 1 : 0);
        }
        slider.value = values.toSlider(control, value ?? control.min);
        slider.setAttribute('aria-valuetext', values.textOf(control, value));
        showText(value);
      },
    };
  }

  choose(value, gesture) {
    if (value === undefined || state.readOnly) return this.show();
    this.local = value;
    this.problem.hidden = true;
    this.show();
    write({ [this.control.name]: value }, gesture);
  }

  type(text) {
    this.problem.hidden = true;
    write({ [this.control.name]: text });
  }

  refuse(reason) {
    this.local = null;
    this.problem.textContent = reason;
    this.problem.hidden = false;
    this.show();
  }

  differs(value) {
    const wanted = state.defaults.get(this.control.name);
    return wanted !== undefined && value !== wanted;
  }

  show() {
    const value = this.local ?? this.control.value;
    const differs = this.differs(value);
    this.inputs.show(value);
    this.element.classList.toggle('changed', differs);
    this.back.hidden = !differs || state.readOnly;
    if (differs) {
      const wanted = values.textOf(this.control, state.defaults.get(this.control.name));
      this.back.title = `Back to the default: ${wanted}`;
      this.back.setAttribute('aria-label', `${this.control.name}: back to the default, ${wanted}`);
    }
    const pending = isPending(this.control.name);
    this.element.classList.toggle('pending', pending);
    this.element.setAttribute('aria-busy', String(pending));
    for (const input of this.element.querySelectorAll('input, select')) input.disabled = state.readOnly;
  }
}

function build() {
  const opened = new Set(groups.filter((group) => group.element.open).map((group) => group.name));
  const isFirst = groups.length === 0;
  const isNarrow = window.matchMedia('(max-width: 1150px)').matches;
  rows.clear();
  groups = values.byProcess(state.controls.values()).map(({ name, members }) => makeGroup(name, members));
  for (const group of groups)
    group.element.open = isFirst
      ? group.name === 'General' || !(isNarrow || /PEQ|GEQ/.test(group.name))
      : opened.has(group.name);
  byId('groups').replaceChildren(...groups.map((group) => group.element), privateGroup());
  filter();
}

function makeGroup(name, members) {
  const group = {
    name,
    rows: members.map(({ control, label }) => new Row(control, label)),
    chip: el('span', { class: 'chip' }),
  };
  for (const row of group.rows) rows.set(row.control.name, row);
  group.element = el(
    'details',
    {},
    el('summary', {}, name, group.chip),
    ...group.rows.map((row) => row.element),
  );
  return group;
}

function privateGroup() {
  if (state.hidden.length === 0) return el('span');
  return el(
    'details',
    { id: 'private' },
    el('summary', {}, 'Private', el('span', { class: 'chip' }, 'shown only')),
    el(
      'table',
      {},
      el(
        'tbody',
        {},
        ...state.hidden.map((control) =>
          el('tr', {}, el('th', { scope: 'row' }, control.name), el('td', {}, control.text ?? '–')),
        ),
      ),
    ),
  );
}

// Every word of the search is in the control's name.
function filter() {
  const words = byId('search').value.toLowerCase().split(/\s+/).filter(Boolean);
  const changedOnly = byId('only-changed').checked;
  let count = 0;
  for (const group of groups) {
    let shown = 0;
    for (const row of group.rows) {
      const whole = row.control.name.toLowerCase();
      // Without the suite, whose digits are in each name.
      const name = whole.replace(/^[^- ]*-/, '');
      const fits =
        words.every((word) => name.includes(word) || whole.startsWith(word)) &&
        (!changedOnly || row.differs(row.local ?? row.control.value));
      row.element.hidden = !fits;
      shown += fits;
    }
    group.element.hidden = shown === 0;
    if (shown && (words.length || changedOnly)) group.element.open = true;
    count += shown;
  }
  byId('no-controls').hidden = count > 0;
  countChanged();
}

function countChanged() {
  for (const group of groups) {
    const changed = group.rows.filter((row) => row.differs(row.control.value)).length;
    group.chip.textContent = changed ? `${changed} of ${group.rows.length} changed` : group.rows.length;
  }
}

export function start() {
  byId('search').addEventListener('input', filter);
  byId('only-changed').addEventListener('change', filter);
  onPress(
    byId('restore'),
    () => endpointSend('POST', state.endpoint, 'restore', { query: { mode: state.mode } }),
    (message) => {
      byId('no-controls').textContent = message || 'No control matches.';
      byId('no-controls').classList.toggle('problem', Boolean(message));
      byId('no-controls').hidden = !message;
    },
  );
  on('controls', build);
  on('value', (name) => {
    rows.get(name)?.show();
    countChanged();
  });
  on('pending', (name) => rows.get(name)?.show());
  on('refused', ({ name, reason }) => rows.get(name)?.refuse(reason));
  on('settled', (name) => {
    const row = rows.get(name);
    if (!row || isPending(name)) return;
    row.local = null;
    row.show();
  });
}
