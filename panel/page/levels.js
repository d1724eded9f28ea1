// Live peaks with hold and clip, and the spectrum, drawn at the rate of the display.
import { byId, colour, freshCanvas } from './dom.js';
import { on } from './state.js';
import { clamp } from './values.js';

const kFloor = -90;
const kHold = 1500; // milliseconds
const kFall = 20; // dB a second after the hold
const kNames = {
  1: ['mono'],
  2: ['L', 'R'],
  6: ['L', 'R', 'C', 'LFE', 'Ls', 'Rs'],
  8: ['L', 'R', 'C', 'LFE', 'Lb', 'Rb', 'Ls', 'Rs'],
};
const kMarks = [20, 50, 100, 200, 500, 1000, 2000, 5000, 10000, 20000];

let latest = null;
let held = []; // by channel: { level, since }
let clipped = []; // by channel: when
let scheduled = false;

const isClip = (level) => level >= -0.1;
const share = (level) => clamp(1 - level / kFloor, 0, 1);

function hold(now) {
  for (const [i, level] of latest.peaks.entries()) {
    const before = held[i] ?? { level: kFloor, since: now };
    const fallen = before.level - (kFall * Math.max(0, now - before.since - kHold)) / 1000;
    if ((level ?? kFloor) >= fallen) held[i] = { level: level ?? kFloor, since: now };
    if (level !== null && isClip(level)) clipped[i] = now;
  }
}

const heldLevel = (i, now) => held[i].level - (kFall * Math.max(0, now - held[i].since - kHold)) / 1000;

function drawPeaks(now) {
  const { context, width, height } = freshCanvas(byId('peaks'));
  const channels = latest.peaks
    .map((level, i) => ({ level, i }))
    .filter(({ level, i }) => level !== null || heldLevel(i, now) > kFloor);
  const names = kNames[channels.length] ?? channels.map(({ i }) => String(i + 1));
  const line = Math.min(30, (height - 20) / Math.max(2, channels.length));
  const [left, right] = [34, width - 44];
  context.font = '12px system-ui, sans-serif';
  context.textBaseline = 'middle';
  context.textAlign = 'left';
  channels.forEach(({ level, i }, row) => {
    const [y, thick] = [row * line + line / 2, Math.min(16, line - 4)];
    context.fillStyle = colour('quiet');
    context.fillText(names[row], 0, y);
    context.fillStyle = colour('grid');
    context.fillRect(left, y - thick / 2, right - left, thick);
    for (const [from, to, shade] of [
      [kFloor, -18, 'good'],
      [-18, -6, 'changed'],
      [-6, 0, 'bad'],
    ]) {
      const end = Math.min(level ?? kFloor, to);
      if (end <= from) continue;
      context.fillStyle = colour(shade);
      context.fillRect(
        left + (right - left) * share(from),
        y - thick / 2,
        (right - left) * (share(end) - share(from)),
        thick,
      );
    }
    context.fillStyle = colour('ink');
    context.fillRect(left + (right - left) * share(heldLevel(i, now)) - 1, y - thick / 2, 2, thick);
    if (now - (clipped[i] ?? -Infinity) < 2000) {
      context.fillStyle = colour('bad');
      context.fillText('CLIP', right + 8, y);
    }
  });
  context.fillStyle = colour('quiet');
  context.textAlign = 'center';
  for (let level = kFloor; level <= 0; level += width < 500 ? 30 : 10)
    context.fillText(
      level === 0 ? '0 dB' : String(level).replace('-', '−'),
      left + (right - left) * share(level),
      height - 6,
    );
}

function drawSpectrum() {
  const { context, width, height } = freshCanvas(byId('spectrum'));
  const [left, bottom] = [34, height - 16];
  const place = (frequency) => left + ((width - left - 16) * Math.log(frequency / 20)) / Math.log(1000);
  context.font = '12px system-ui, sans-serif';
  context.textAlign = 'center';
  for (const mark of kMarks) {
    context.fillStyle = colour('grid');
    context.fillRect(place(mark), 0, 1, bottom);
    context.fillStyle = colour('quiet');
    if (width > 480 || /^1/.test(mark))
      context.fillText(mark >= 1000 ? `${mark / 1000}k` : mark, place(mark), height - 3);
  }
  context.textAlign = 'left';
  for (const level of [-10, -30, -50, -70]) {
    const y = bottom * (1 - share(level));
    context.fillStyle = colour('grid');
    context.fillRect(left, y, width - left - 16, 1);
    context.fillStyle = colour('quiet');
    context.fillText(`−${-level}`, 0, y + 4);
  }
  for (const channel of [...new Set(latest.spectrum.map((bin) => bin.channel))].slice(0, 2)) {
    context.strokeStyle = colour(channel ? 'right' : 'left');
    context.lineWidth = 1.8;
    context.beginPath();
    for (const bin of latest.spectrum)
      if (bin.channel === channel)
        context.lineTo(place(bin.frequency), bottom * (1 - share(bin.db ?? kFloor)));
    context.stroke();
  }
}

function describe(now) {
  const playing = latest.peaks.filter((level) => level !== null);
  const text = playing.length === 0 ? 'silence' : `peak ${Math.max(...playing).toFixed(1)} dB`;
  if (now - describe.last < 500) return;
  describe.last = now;
  byId('levels-text').textContent = text;
  byId('peaks').setAttribute('aria-label', `Peak levels: ${text}`);
}
describe.last = -Infinity;

function draw(now) {
  scheduled = false;
  if (!latest) return;
  hold(now);
  drawPeaks(now);
  drawSpectrum();
  describe(now);
  // Holds fall and CLIP goes out without new levels too.
  if (held.some((one) => one.level > kFloor && now - one.since < 8000)) schedule();
}

function schedule() {
  if (scheduled) return;
  scheduled = true;
  requestAnimationFrame(draw);
}

export function start() {
  on('levels', (levels) => {
    if (levels.message) return void (byId('levels-text').textContent = levels.message);
    latest = levels.silent ? { peaks: held.map(() => null), spectrum: [] } : levels;
    schedule();
  });
  on('endpoint', () => {
    [latest, held, clipped] = [null, [], []];
    byId('levels-text').textContent = 'silence';
    freshCanvas(byId('peaks'));
    freshCanvas(byId('spectrum'));
  });
  on('theme', schedule);
  window.addEventListener('resize', schedule);
}
