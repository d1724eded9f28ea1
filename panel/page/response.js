// The response of the shown mode's filters, with the parametric bands to drag: frequency and gain by
// the pointer, Q by the wheel or, as every value, in the table below the plot.
import { byId, colour, debounced, el } from './dom.js';
import { endpointGet } from './api.js';
import { on, state, tell } from './state.js';
import { gestureOf, write } from './writer.js';
import * as values from './values.js';

const kForms = [
  { key: 'ideal', label: 'ideal', width: 6 },
  { key: 'quantised', label: 'as it is sent', width: 1.6 },
  { key: 'dsp', label: 'as the DSP holds it', width: 1.6, dash: [5, 4] },
];
const kQuantities = {
  db: { title: 'dB', digits: 2 },
  phase_degrees: { title: 'degrees', digits: 0 },
  group_delay_ms: { title: 'ms', digits: 2 },
};
const kDecades = /^[125]0*$/;

let chart = null;
let response = null;
let bands = { left: [], right: [] };
let held = null; // the band that the pointer moves

const quantity = () => byId('quantity').value;
const channel = () => byId('band-channel').value;
const sides = () => (channel() === 'both' ? ['left', 'right'] : [channel()]);
const shownBands = () => bands[channel() === 'right' ? 'right' : 'left'];
const inUnit = (control) => control.value / values.stepsToUnit(control);

function hertz(frequency) {
  return frequency >= 1000 ? `${+(frequency / 1000).toPrecision(3)} kHz` : `${+frequency.toPrecision(3)} Hz`;
}

function lines() {
  const group = response?.groups.find((one) => one.name === byId('filter-group').value);
  return (group?.filters ?? []).flatMap((filter, index) =>
    kForms
      .filter(({ key }) => filter.points.some((point) => point[key]))
      .map((form) => ({
        label: form.key === 'ideal' ? form.label : `${filter.name}, ${form.label}`,
        data: filter.points.map((point) => ({
          x: point.frequency,
          y: point[form.key]?.[quantity()] ?? null,
        })),
        borderColor: colour(
          form.key === 'ideal' ? 'ideal' : form.key === 'dsp' ? 'dsp' : index % 2 ? 'right' : 'left',
        ),
        borderWidth: form.width,
        borderDash: form.dash ?? [],
        pointRadius: 0,
        pointHitRadius: 0,
        order: form.key === 'ideal' ? 3 : 2,
      })),
  );
}

function gainPoints() {
  const points = (response?.gain_points ?? []).filter(
    (point) => point.enabled && point.frequency && point.gain_db !== null,
  );
  if (points.length === 0 || quantity() !== 'db') return [];
  return [
    {
      label: "graphic equaliser's gains (its curve is the firmware's)",
      showLine: false,
      pointStyle: 'rectRot',
      pointRadius: 5,
      data: points.map((point) => ({ x: point.frequency, y: point.gain_db })),
      borderColor: colour('quiet'),
      backgroundColor: colour('quiet'),
      order: 2,
    },
  ];
}

// Handles stand on the first group only: it is the chain that the bands belong to.
function handles() {
  const isChain = byId('filter-group').selectedIndex <= 0;
  if (quantity() !== 'db' || !isChain || shownBands().length === 0) return [];
  const shade = colour(channel() === 'right' ? 'right' : 'left');
  return [
    {
      label: 'bands',
      isHandles: true,
      showLine: false,
      pointRadius: 7,
      pointHoverRadius: 9,
      pointHitRadius: 12,
      borderColor: shade,
      borderWidth: 2,
      backgroundColor: shownBands().map((band) => (inUnit(band.gain) === 0 ? colour('card') : shade)),
      data: shownBands().map((band) => ({ x: inUnit(band.frequency), y: inUnit(band.gain), band })),
      order: 1,
    },
  ];
}

function draw() {
  const grid = { color: colour('grid') };
  const ticks = { color: colour('quiet') };
  const { title } = kQuantities[quantity()];
  const datasets = [...lines(), ...gainPoints(), ...handles()];
  const scales = {
    x: {
      type: 'logarithmic',
      min: 20,
      max: 20000,
      grid,
      title: { display: true, text: 'Hz', color: colour('quiet') },
      ticks: {
        ...ticks,
        maxRotation: 0,
        autoSkip: false,
        callback: (f) => (kDecades.test(String(f)) ? (f >= 1000 ? `${f / 1000}k` : f) : null),
      },
    },
    y: {
      grid,
      ticks: { ...ticks, ...(quantity() === 'db' ? { stepSize: 6 } : {}) },
      title: { display: true, text: title, color: colour('quiet') },
      ...(quantity() === 'db' ? decibelRange(datasets) : {}),
    },
  };
  if (chart) {
    chart.data.datasets = datasets;
    chart.options.scales = scales;
    chart.options.plugins.legend.labels.color = colour('ink');
    chart.update('none');
  } else {
    chart = new window.Chart(byId('response-plot'), {
      type: 'line',
      data: { datasets },
      options: {
        animation: false,
        responsive: true,
        maintainAspectRatio: false,
        parsing: false,
        normalized: true,
        scales,
        interaction: { mode: 'nearest', intersect: true },
        plugins: {
          legend: {
            position: 'bottom',
            labels: {
              color: colour('ink'),
              boxWidth: 18,
              boxHeight: 2,
              filter: (item, { datasets }) =>
                item.text !== 'bands' &&
                datasets.findIndex(({ label }) => label === item.text) === item.datasetIndex,
            },
          },
          tooltip: {
            callbacks: {
              title: () => '',
              label: ({ raw }) => (raw.band ? bandText(raw.band) : `${hertz(raw.x)}: ${raw.y} dB`),
            },
          },
        },
      },
    });
    followPointer(byId('response-plot'));
  }
}

// Whole steps of 6 dB around what is there; a high-pass that falls for ever does not flatten the rest.
function decibelRange(datasets) {
  const levels = datasets
    .flatMap((set) => set.data.map((point) => point.y))
    .filter((y) => y !== null && y > -40);
  const low = Math.min(-12, ...levels);
  const high = Math.max(6, ...levels);
  return { min: Math.floor(low / 6) * 6, max: Math.ceil((high + 1) / 6) * 6 };
}

function bandText(band) {
  const text = (control) => values.textOf(control, control.value);
  return `Band ${band.number}: ${text(band.frequency)}, ${text(band.gain)}, Q ${text(band.q)}`;
}

function bandAt(event) {
  const [found] = chart
    .getElementsAtEventForMode(event, 'nearest', { intersect: true }, false)
    .filter(({ datasetIndex }) => chart.data.datasets[datasetIndex].isHandles);
  return found && chart.data.datasets[found.datasetIndex].data[found.index].band;
}

// Sets a part of the band in the chosen channels, in the control's steps within its range.
function setBand(number, changes, gesture) {
  const sent = {};
  for (const side of sides()) {
    const band = bands[side].find((one) => one.number === number);
    for (const [part, amount] of Object.entries(changes)) {
      const control = band?.[part];
      if (!control) continue;
      const wanted = Math.round(amount * values.stepsToUnit(control));
      sent[control.name] =
        control.min < control.max ? values.clamp(wanted, control.min, control.max) : wanted;
    }
  }
  if (!state.readOnly && Object.keys(sent).length) write(sent, gesture);
  return sent;
}

function followPointer(canvas) {
  canvas.addEventListener('pointerdown', (event) => {
    held = state.readOnly ? null : bandAt(event);
    if (held) canvas.setPointerCapture(event.pointerId);
  });
  canvas.addEventListener('pointermove', (event) => {
    if (!held) return void (canvas.style.cursor = bandAt(event) ? 'grab' : '');
    const box = canvas.getBoundingClientRect();
    const frequency = chart.scales.x.getValueForPixel(event.clientX - box.left);
    const gain = chart.scales.y.getValueForPixel(event.clientY - box.top);
    const sent = setBand(held.number, { frequency, gain }, gestureOf(`band ${held.number}`));
    moveHandle(held, sent);
  });
  for (const end of ['pointerup', 'pointercancel']) canvas.addEventListener(end, () => (held = null));
  canvas.addEventListener(
    'wheel',
    (event) => {
      const band = state.readOnly ? null : bandAt(event);
      if (!band) return;
      event.preventDefault();
      setBand(
        band.number,
        { q: inUnit(band.q) * 1.1 ** -Math.sign(event.deltaY) },
        gestureOf(`wheel ${band.number}`, true),
      );
    },
    { passive: false },
  );
}

// The handle follows the pointer at once; the curve follows when the values are stored.
function moveHandle(band, sent) {
  const set = chart.data.datasets.find((one) => one.isHandles);
  const point = set?.data.find((one) => one.band === band);
  if (!point) return;
  point.x = sent[band.frequency.name] / values.stepsToUnit(band.frequency);
  point.y = sent[band.gain.name] / values.stepsToUnit(band.gain);
  chart.update('none');
}

function fillTable() {
  const body = byId('band-table').querySelector('tbody');
  byId('band-table').hidden = shownBands().length === 0;
  if (body.contains(document.activeElement)) return;
  body.replaceChildren(
    ...shownBands().map((band) =>
      el(
        'tr',
        {},
        el('th', { scope: 'row' }, String(band.number)),
        ...['frequency', 'gain', 'q'].map((part) =>
          el(
            'td',
            {},
            el('input', {
              type: 'text',
              value: values.textOf(band[part], band[part].value),
              disabled: state.readOnly,
              spellcheck: 'false',
              'aria-label': `Band ${band.number}, ${part === 'q' ? 'Q' : part}`,
              onchange: ({ target }) => typeInto(band.number, part, target.value.trim()),
            }),
          ),
        ),
      ),
    ),
  );
}

function typeInto(number, part, text) {
  const names = sides()
    .map((side) => bands[side].find((band) => band.number === number)?.[part]?.name)
    .filter(Boolean);
  write(Object.fromEntries(names.map((name) => [name, text])));
}

function describe() {
  const group = response?.groups.find((one) => one.name === byId('filter-group').value);
  const error = (what, name) =>
    what && what.db !== null ? `${name} ${what.db.toFixed(4)} dB at ${hertz(what.frequency)}` : null;
  const texts = (group?.filters ?? []).map((filter) => {
    const parts = [
      filter.silent ? 'silent after quantising' : null,
      filter.pole_radius >= 1 ? 'UNSTABLE' : null,
      error(filter.quantising_error, 'largest error of quantising'),
      filter.dsp_error?.db === 0 ? 'the DSP holds the same' : error(filter.dsp_error, 'DSP against mode'),
    ];
    return `${filter.name}: ${parts.filter(Boolean).join('; ') || 'nothing to compare'}.`;
  });
  const notes = response?.notes ?? [];
  byId('response-notes').replaceChildren(
    ...texts.map((text) => el('p', {}, text)),
    ...(notes.length
      ? [
          el(
            'details',
            {},
            el('summary', {}, 'Notes', el('span', { class: 'chip' }, notes.length)),
            el('ul', {}, ...notes.map((note) => el('li', {}, note))),
          ),
        ]
      : []),
  );
}

const problem = (error) =>
  byId('response-notes').replaceChildren(el('p', { class: 'problem' }, error.message));

const fetchAgain = debounced(() => load().catch(problem), 40);

async function load() {
  const { endpoint, mode } = state;
  const answer = await endpointGet(endpoint, 'response', { mode });
  if (endpoint !== state.endpoint || mode !== state.mode) return;
  response = answer;
  const list = byId('filter-group');
  const chosen = list.value;
  list.replaceChildren(...response.groups.map((group) => el('option', {}, group.name)));
  if (response.groups.some((group) => group.name === chosen)) list.value = chosen;
  if (!held) draw();
  describe();
}

export function start() {
  for (const id of ['quantity', 'filter-group', 'band-channel'])
    byId(id).addEventListener('change', () => {
      draw();
      fillTable();
      describe();
    });
  on('controls', () => {
    bands = values.bandsOf(state.controls);
    byId('response').hidden = false;
    response = null;
    fillTable();
    load().catch((error) => {
      // A mode without filters has no picture.
      draw();
      problem(error);
    });
  });
  on('value', () => {
    fillTable();
    fetchAgain();
  });
  on('pushed', fetchAgain);
  window.matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => {
    draw();
    tell('theme');
  });
}
