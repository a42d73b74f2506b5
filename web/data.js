// SPDX-License-Identifier: Apache-2.0
// What grhost wrote into the page, unpacked. Places are 16-bit steps in the box that holds all frames.

const bytes = (text) => Uint8Array.from(atob(text), (c) => c.charCodeAt(0));

export function readData() {
  const text = document.getElementById("data").textContent;
  if (!text) throw new Error("this page has no character: let grhost view write it");
  const data = JSON.parse(text);
  const words = (t) => new Uint16Array(bytes(t).buffer);
  data.triangles = new Uint32Array(bytes(data.triangles).buffer);
  data.rest = words(data.rest);
  data.ramp = bytes(data.ramp);
  for (const way of data.ways) way.places = words(way.places);
  for (const lines of [data.curves, data.axes]) {
    lines.places = words(lines.places);
    lines.colours = bytes(lines.colours);
  }
  for (const block of data.blocks) {
    block.weights = bytes(block.weights);
    block.params = bytes(block.params);
  }
  if (data.gpu) data.gpu.values = words(data.gpu.values);
  return data;
}

/// Writes `count` places, from place `first` on, into `to` as coordinates.
export function unpack(data, places, first, count, to) {
  for (let i = 0; i < count * 3; ++i) to[i] = data.low[i % 3] + places[first * 3 + i] * data.step[i % 3];
  return to;
}
