// Controls as numbers and texts. A control's value is a whole number of its own steps.

// The service writes a quantity with as many decimals as its steps have.
export function stepsToUnit(control) {
  const [, decimals = ''] = /^-?\d+\.(\d+)/.exec(control.text) ?? [];
  return 10 ** decimals.length;
}

// How a number that is not stored yet reads; the service's own text replaces it.
export function textOf(control, value) {
  if (value === control.value && control.text != null) return control.text;
  if (value in control.choices) return control.choices[value];
  const steps = stepsToUnit(control);
  const number = (value / steps).toFixed(Math.log10(steps));
  return control.unit ? `${number} ${control.unit}` : number;
}

export const isSwitch = (control) =>
  control.choices.length === 2 &&
  control.min === 0 &&
  control.max === 1 &&
  /^(dis|en)abled$/i.test(control.choices[0]) &&
  /^(dis|en)abled$/i.test(control.choices[1]);
export const turnsOn = (control, value) => /^enabled$/i.test(control.choices[value] ?? '');

// A wide range of frequencies moves by ratio, as they are heard.
const byRatio = (control) => control.unit === 'Hz' && control.min > 0 && control.max / control.min >= 20;

export const kSliderSteps = 1000;
export function sliderRange(control) {
  return byRatio(control) ? { min: 0, max: kSliderSteps } : { min: control.min, max: control.max };
}
export function toSlider(control, value) {
  if (!byRatio(control)) return value;
  const span = Math.log(control.max / control.min);
  return Math.round((kSliderSteps * Math.log(Math.max(value, control.min) / control.min)) / span);
}
export function fromSlider(control, position) {
  if (!byRatio(control)) return position;
  return Math.round(control.min * (control.max / control.min) ** (position / kSliderSteps));
}

export const clamp = (value, low, high) => Math.min(Math.max(value, low), high);

const kNatural = new Intl.Collator('en', { numeric: true });

// The controls by process, in natural order: [{ name, members: [{ control, label }] }].
// "VQ3D-PEQ Left Band 0 Gain" is "Band 0 Gain" of "PEQ Left", "VQ3D-Hard Limiter Enable" is "Enable"
// of "Hard Limiter", because no other process begins with "Hard". Controls that are alone in their
// process come first, as "General".
export function byProcess(controls) {
  const all = [...controls]
    .map((control) => ({ control, words: control.name.replace(/^[^- ]*-/, '').split(' ') }))
    .sort((a, b) => kNatural.compare(a.control.name, b.control.name));
  const processes = new Map();
  for (const one of all) {
    const [first, second] = one.words;
    const alike = all.filter(({ words }) => words[0] === first);
    const sharesTwo = alike.length > 1 && alike.every(({ words }) => words[1] === second && words.length > 2);
    const size = sharesTwo || (/^(Left|Right)$/.test(second) && one.words.length > 2) ? 2 : 1;
    const name = alike.length === 1 ? 'General' : one.words.slice(0, size).join(' ');
    if (!processes.has(name)) processes.set(name, []);
    processes.get(name).push({
      control: one.control,
      label: one.words.slice(name === 'General' ? 0 : size).join(' ') || name,
    });
  }
  const isGeneral = ([name]) => name === 'General';
  return [...[...processes].filter(isGeneral), ...[...processes].filter((one) => !isGeneral(one))].map(
    ([name, members]) => ({ name, members }),
  );
}

// The names of parametric bands: the part before "Frequency", "Gain", "Q Factor".
export function bandsOf(controls) {
  const bands = { left: [], right: [] };
  for (const name of controls.keys()) {
    const found = /^(.*PEQ (Left|Right) Band (\d+) )Frequency$/.exec(name);
    if (!found) continue;
    const part = (what) => controls.get(found[1] + what);
    const band = {
      number: Number(found[3]),
      frequency: part('Frequency'),
      gain: part('Gain'),
      q: part('Q Factor'),
      enable: part('Enable'),
      type: part('Type'),
    };
    if (band.gain && band.q) bands[found[2].toLowerCase()].push(band);
  }
  for (const list of Object.values(bands)) list.sort((a, b) => a.number - b.number);
  return bands;
}
