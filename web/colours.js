// SPDX-License-Identifier: Apache-2.0
// What the colours show: one number per point for a frame, and the range that the ramp stands for. NaN is
// "nothing here" and grey.
import { unpack } from "./data.js";

const distance = (a, b, i) => Math.hypot(a[3 * i] - b[3 * i], a[3 * i + 1] - b[3 * i + 1], a[3 * i + 2] - b[3 * i + 2]);

// The largest value over all frames, found once and kept.
function once(make) {
  let value;
  return () => (value ??= make());
}

export function makeColourings(data) {
  const n = data.points, frames = data.frames.length;
  const rest = unpack(data, data.rest, 0, n, new Float32Array(3 * n));
  const own = data.ways[0], linear = data.ways.find((way) => way.name === "linear blend");
  const a = new Float32Array(3 * n), b = new Float32Array(3 * n);
  const at = (way, f, to) => unpack(data, way.places, f * n, n, to);
  const largest = (valueOf) => once(() => {
    let most = 0;
    for (let f = 0; f < frames; ++f) for (const v of valueOf(f)) most = Math.max(most, v);
    return most;
  });
  const apart = (first, second) => Array.from({ length: n }, (_, i) => distance(first, second, i));
  const length = { unit: data.unit, digits: 3 };

  const moved = (way) => (f) => apart(at(way, f, a), rest);
  const beside = (way) => (f) => apart(at(way, f, a), at(linear, f, b));
  const strongest = (i) => data.blocks.reduce((best, block) => (block.weights[i] > best.weights[i] ? block : best), data.blocks[0]);
  const taken = (i) => 1 - data.blocks.reduce((left, block) => left * (1 - block.weights[i] / 255), 1);

  const kinds = [
    { key: "none", name: "plain" },
    { key: "weights", name: "weights", blocks: true, most: () => 1, values: (f, way, block) =>
      Array.from({ length: n }, (_, i) => (block ? block.weights[i] / 255 : taken(i)) || NaN) },
    { key: "params", name: "parameters", blocks: true, most: () => 1, values: (f, way, block) =>
      Array.from({ length: n }, (_, i) => {
        const from = block ?? strongest(i);
        return from.weights[i] > 0 ? from.params[i] / 255 : NaN;
      }) },
    { key: "displacement", name: "distance from rest", ...length, most: largest(moved(own)),
      values: (f, way) => moved(way)(f) },
  ];
  if (linear)
    kinds.push({ key: "linear", name: "distance from linear blend", ...length, most: largest(beside(own)),
      values: (f, way) => beside(way)(f) });
  if (data.gpu)
    kinds.push({ key: "gpu", name: "CPU to " + data.gpu.device, ...length, digits: 9, most: () => data.gpu.largest,
      values: (f, way) => Array.from({ length: n }, (_, i) =>
        way === own ? (data.gpu.values[f * n + i] / 65535) * data.gpu.largest : NaN) });
  return kinds;
}
