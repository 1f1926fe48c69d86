// SPDX-License-Identifier: Apache-2.0
// The colours of a waterfall: from dark violet to light yellow, so that equal steps of a value look equally large and
// the order can be seen without telling hues apart. Lightness of OKLab rises by the same amount with each step; hue
// turns evenly; chroma is the most that the screen can show, up to a limit.

export const kColours = 256;
const kDarkest = 0.16;
const kLightest = 0.95;
const kFirstHue = 300;
const kLastHue = 100;
const kMostChroma = 0.155;

/** Linear red, green, blue of a colour of OKLab. */
function linearOf(lightness, a, b) {
  const l = (lightness + 0.3963377774 * a + 0.2158037573 * b) ** 3;
  const m = (lightness - 0.1055613458 * a - 0.0638541728 * b) ** 3;
  const s = (lightness - 0.0894841775 * a - 1.291485548 * b) ** 3;
  return [
    4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s,
    -1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s,
    -0.0041960863 * l - 0.7034186147 * m + 1.707614701 * s,
  ];
}

const isShown = (linear) => linear.every((part) => part >= -1e-4 && part <= 1.0001);

function byteOf(linear) {
  const part = Math.min(1, Math.max(0, linear));
  return Math.round(255 * (part <= 0.0031308 ? 12.92 * part : 1.055 * part ** (1 / 2.4) - 0.055));
}

function colourAt(share) {
  const lightness = kDarkest + (kLightest - kDarkest) * share;
  const hue = ((kFirstHue + (kLastHue - kFirstHue) * share) * Math.PI) / 180;
  const at = (chroma) => linearOf(lightness, chroma * Math.cos(hue), chroma * Math.sin(hue));
  let [low, high] = [0, kMostChroma];
  for (let i = 0; i < 20; ++i) {
    const middle = (low + high) / 2;
    if (isShown(at(middle))) low = middle;
    else high = middle;
  }
  return at(low).map(byteOf);
}

/** The map: kColours times red, green, blue. */
export const kColourMap = Uint8Array.from(
  Array.from({length: kColours}, (_, i) => colourAt(i / (kColours - 1))).flat(),
);

const isLittleEndian = new Uint8Array(new Uint32Array([1]).buffer)[0] === 1;
const kPixels = Uint32Array.from({length: kColours}, (_, i) => {
  const [red, green, blue] = kColourMap.subarray(3 * i, 3 * i + 3);
  return isLittleEndian
    ? (255 << 24) | (blue << 16) | (green << 8) | red
    : (red << 24) | (green << 16) | (blue << 8) | 255;
});

/** Colours of `values` as pixels: `low` and less is the darkest, `high` and more the lightest, what is not a number is
 *  left clear. `pixels`: a Uint32Array over an image's data. */
export function paint(values, low, high, pixels) {
  const factor = (kColours - 1) / (high - low || 1);
  for (let i = 0; i < values.length; ++i) {
    const value = values[i];
    const place = value <= low ? 0 : value >= high ? kColours - 1 : Math.round((value - low) * factor);
    pixels[i] = value === value ? kPixels[place] : 0;
  }
}
