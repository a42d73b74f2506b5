// SPDX-License-Identifier: Apache-2.0
// Plays a deformed clip: one pane per way of skinning, one camera for all. The address can say what to show
// (#frame=12&colour=weights&block=Tail&ways=talvisora,linear blend&curves=1&axes=1&az=60&el=15), and the
// element "state" tells what is drawn.
import {
  AmbientLight, Box3, BufferAttribute, BufferGeometry, Color, DirectionalLight, DoubleSide, DynamicDrawUsage,
  LineBasicMaterial, LineSegments, Mesh, MeshLambertMaterial, PerspectiveCamera, Scene, SRGBColorSpace, Vector3,
  WebGLRenderer,
} from "three";
import { OrbitControls } from "three/addons/controls/OrbitControls.js";
import { makeColourings } from "./colours.js";
import { readData, unpack } from "./data.js";

const $ = (id) => document.getElementById(id);
const asked = new URLSearchParams(location.hash.slice(1));
const SURFACE = new Color().setRGB(196 / 255, 176 / 255, 152 / 255, SRGBColorSpace);
const NOTHING = new Color().setRGB(0.75, 0.75, 0.75, SRGBColorSpace);

function attribute(size, perItem) {
  return new BufferAttribute(new Float32Array(size * perItem), perItem).setUsage(DynamicDrawUsage);
}

// One way of skinning: its scene with the mesh and the lines over it.
function makePane(data, way) {
  const scene = new Scene();
  const geometry = new BufferGeometry();
  geometry.setAttribute("position", attribute(data.points, 3));
  geometry.setAttribute("color", attribute(data.points, 3));
  geometry.setIndex(new BufferAttribute(data.triangles, 1));
  const mesh = new Mesh(geometry, new MeshLambertMaterial({ vertexColors: true, side: DoubleSide }));
  const lines = (packed) => {
    const g = new BufferGeometry();
    g.setAttribute("position", attribute(packed.count * 2, 3));
    g.setAttribute("color", new BufferAttribute(Float32Array.from(packed.colours, (c) => (c / 255) ** 2.2), 3));
    const drawn = new LineSegments(g, new LineBasicMaterial({ vertexColors: true, depthTest: false, transparent: true }));
    drawn.renderOrder = 1; // over the mesh, whatever is in front
    return drawn;
  };
  const pane = { way, scene, mesh, curves: lines(data.curves), axes: lines(data.axes) };
  for (const object of [pane.mesh, pane.curves, pane.axes]) object.frustumCulled = false;
  scene.add(mesh, pane.curves, pane.axes, new AmbientLight(0xffffff, 1.3));
  pane.key = new DirectionalLight(0xffffff, 2.2);
  scene.add(pane.key);
  return pane;
}

function start() {
  const data = readData();
  const renderer = new WebGLRenderer({ canvas: $("canvas"), antialias: true, preserveDrawingBuffer: true });
  renderer.setPixelRatio(Math.min(devicePixelRatio, 2));
  renderer.setClearColor(0xeeeeec);
  renderer.setScissorTest(true);
  const panes = data.ways.map((way) => makePane(data, way));
  const kinds = makeColourings(data);
  const ramp = Array.from({ length: 256 }, (_, k) =>
    new Color().setRGB(data.ramp[3 * k] / 255, data.ramp[3 * k + 1] / 255, data.ramp[3 * k + 2] / 255, SRGBColorSpace));

  const wanted = asked.get("ways")?.split(",");
  const first = panes.filter((pane) => !wanted || wanted.includes(pane.way.name));

  // The camera sees all frames in the panes as they are at first.
  const low = new Vector3(...data.low);
  const size = new Vector3(...data.step).multiplyScalar(65535);
  const box = new Box3(low, low.clone().add(size));
  const middle = box.getCenter(new Vector3()), radius = size.length() / 2 || 1;
  const camera = new PerspectiveCamera(30, 1, radius / 100, radius * 100);
  camera.up.set(0, data.zUp ? 0 : 1, data.zUp ? 1 : 0);
  const az = (Number(asked.get("az") ?? 60) * Math.PI) / 180, el = (Number(asked.get("el") ?? 15) * Math.PI) / 180;
  const towards = data.zUp
    ? new Vector3(Math.sin(az) * Math.cos(el), -Math.cos(az) * Math.cos(el), Math.sin(el))
    : new Vector3(Math.sin(az) * Math.cos(el), Math.sin(el), Math.cos(az) * Math.cos(el));
  const room = () => { // of one pane: the panes end where the panel begins
    const below = Math.ceil(innerHeight - $("panel").getBoundingClientRect().top) + 4;
    return { below, height: Math.max(innerHeight - below, 1) };
  };
  const TANGENT = Math.tan(Math.PI / 12); // of half the picture's height
  const fitted = innerWidth / Math.max(first.length, 1) / room().height;
  camera.position.copy(middle).add(towards);
  camera.lookAt(middle);
  camera.updateMatrixWorld();
  const [right, up] = [0, 1].map((axis) => new Vector3().setFromMatrixColumn(camera.matrixWorld, axis));
  let away = 0;
  for (let corner = 0; corner < 8; ++corner) {
    const from = new Vector3(corner & 1, (corner >> 1) & 1, corner >> 2).multiply(size).add(low).sub(middle);
    const needed = Math.max(Math.abs(from.dot(right)) / fitted, Math.abs(from.dot(up))) / TANGENT;
    away = Math.max(away, needed + from.dot(towards));
  }
  camera.position.copy(middle).addScaledVector(towards, away * 1.05 || 1);
  const controls = new OrbitControls(camera, $("canvas"));
  controls.target.copy(middle);
  controls.update();

  // What is shown.
  const view = {
    index: Math.max(0, data.frames.indexOf(Number(asked.get("frame") ?? data.frames[0]))),
    colour: kinds.find((kind) => kind.key === asked.get("colour")) ?? kinds[0],
    block: data.blocks.find((block) => block.name === asked.get("block")) ?? null,
    ways: new Set(first.length > 0 ? first : [panes[0]]),
    curves: asked.get("curves") === "1", axes: asked.get("axes") === "1",
    playing: asked.has("frame") ? false : asked.get("play") !== "0",
  };

  function colour(pane) {
    const to = pane.mesh.geometry.getAttribute("color");
    if (view.colour.key === "none") {
      for (let i = 0; i < data.points; ++i) SURFACE.toArray(to.array, 3 * i);
    } else {
      const values = view.colour.values(view.index, pane.way, view.block), most = view.colour.most() || 1;
      for (let i = 0; i < data.points; ++i) {
        const v = values[i];
        (Number.isNaN(v) ? NOTHING : ramp[Math.round(Math.min(v / most, 1) * 255)]).toArray(to.array, 3 * i);
      }
    }
    to.needsUpdate = true;
  }

  function pose(pane) {
    const put = (object, places, count) => {
      const to = object.geometry.getAttribute("position");
      unpack(data, places, view.index * count, count, to.array);
      to.needsUpdate = true;
    };
    put(pane.mesh, pane.way.places, data.points);
    put(pane.curves, data.curves.places, data.curves.count * 2);
    put(pane.axes, data.axes.places, data.axes.count * 2);
    pane.mesh.geometry.computeVertexNormals();
    pane.curves.visible = view.curves;
    pane.axes.visible = view.axes;
    colour(pane);
  }

  // Which points `state` tells about, for checks: #probe=0,5
  const probed = (asked.get("probe") ?? "").split(",").filter((t) => t !== "").map(Number);
  function tell(shown) {
    const state = { frame: data.frames[view.index], colour: view.colour.key, eye: camera.position.toArray(), ways: {} };
    const gl = renderer.getContext();
    for (const { pane, rect } of shown) {
      const places = pane.mesh.geometry.getAttribute("position").array;
      const told = { points: probed.map((i) => Array.from(places.slice(3 * i, 3 * i + 3))) };
      if (probed.length > 0) { // how much of the pane is not background
        const pixels = new Uint8Array(rect.width * rect.height * 4);
        gl.readPixels(rect.x, rect.y, rect.width, rect.height, gl.RGBA, gl.UNSIGNED_BYTE, pixels);
        let drawn = 0;
        for (let k = 0; k < pixels.length; k += 4)
          if (Math.abs(pixels[k] - 0xee) + Math.abs(pixels[k + 1] - 0xee) + Math.abs(pixels[k + 2] - 0xec) > 12) ++drawn;
        told.drawnShare = drawn / (rect.width * rect.height);
      }
      state.ways[pane.way.name] = told;
    }
    $("state").textContent = JSON.stringify(state);
  }

  let posed = true;
  function draw() {
    const shown = panes.filter((pane) => view.ways.has(pane));
    const width = innerWidth, each = Math.floor(width / shown.length);
    const { below, height } = room();
    renderer.setSize(width, innerHeight, false);
    camera.aspect = each / height;
    // A narrower pane sees as far to the sides as at first, a wider one as far up and down.
    camera.fov = (Math.atan(TANGENT * Math.max(1, fitted / camera.aspect)) * 360) / Math.PI;
    camera.updateProjectionMatrix();
    const ratio = renderer.getPixelRatio();
    const rects = shown.map((pane, k) => {
      if (posed) pose(pane);
      pane.key.position.copy(camera.position).addScaledVector(camera.up, radius);
      renderer.setViewport(k * each, below, each, height);
      renderer.setScissor(k * each, below, each, height);
      renderer.render(pane.scene, camera);
      const pixels = (length) => Math.floor(length * ratio);
      return { pane, rect: { x: pixels(k * each), y: pixels(below), width: pixels(each), height: pixels(height) } };
    });
    posed = false;
    tell(rects);
    $("titles").replaceChildren(...shown.map((pane, k) => {
      const title = document.createElement("div");
      title.textContent = pane.way.name;
      title.style.left = (k + 0.5) * each + "px";
      return title;
    }));
    $("frame").textContent = "frame " + data.frames[view.index];
    $("scrub").value = view.index;
    $("play").textContent = view.playing ? "stop" : "play";
  }

  function legend() {
    const plain = view.colour.key === "none", { unit = "", digits = 0 } = view.colour;
    $("legend").style.display = plain ? "none" : "flex";
    $("blockLine").style.display = view.colour.blocks ? "block" : "none";
    $("least").textContent = "0";
    $("most").textContent = plain ? "" : Number(view.colour.most().toFixed(digits)) + " " + unit;
    const bar = $("bar").getContext("2d"), image = bar.createImageData(256, 1);
    for (let k = 0; k < 256; ++k) image.data.set([data.ramp[3 * k], data.ramp[3 * k + 1], data.ramp[3 * k + 2], 255], 4 * k);
    bar.putImageData(image, 0, 0);
  }

  let due = false;
  function change(what) {
    what?.();
    posed = true;
    legend();
    again();
  }
  function again() {
    if (due) return;
    due = true;
    requestAnimationFrame(() => { due = false; draw(); });
  }

  const option = (select, text, value) => select.add(new Option(text, value));
  kinds.forEach((kind, k) => option($("colour"), kind.name, k));
  option($("block"), "all", -1);
  data.blocks.forEach((block, k) => option($("block"), block.name, k));
  $("colour").value = kinds.indexOf(view.colour);
  $("block").value = data.blocks.indexOf(view.block);
  $("colour").onchange = () => change(() => (view.colour = kinds[$("colour").value]));
  $("block").onchange = () => change(() => (view.block = data.blocks[$("block").value] ?? null));
  const tick = (text, on, set) => {
    const label = document.createElement("label"), box = document.createElement("input");
    box.type = "checkbox";
    box.checked = on;
    box.onchange = () => change(() => set(box.checked));
    label.append(box, " " + text);
    $("boxes").append(label);
  };
  for (const pane of panes)
    tick(pane.way.name, view.ways.has(pane), (on) => {
      if (on) view.ways.add(pane);
      else if (view.ways.size > 1) view.ways.delete(pane);
    });
  tick("curves", view.curves, (on) => (view.curves = on));
  tick("control matrices", view.axes, (on) => (view.axes = on));
  $("about").textContent = data.title + (data.clip ? ", " + data.clip : "");
  document.title = "talvisora: " + data.title;
  $("scrub").max = data.frames.length - 1;
  $("scrub").oninput = () => change(() => { view.playing = false; view.index = Number($("scrub").value); });
  const toggle = () => change(() => { view.playing = !view.playing; if (view.playing) requestAnimationFrame(step); });
  $("play").onclick = toggle;
  addEventListener("keydown", (event) => {
    if (event.target.tagName === "SELECT" || event.target.tagName === "BUTTON") return;
    const last = data.frames.length;
    if (event.key === " ") toggle();
    else if (event.target.type === "range") return;
    else if (event.key === "ArrowRight") change(() => { view.playing = false; view.index = (view.index + 1) % last; });
    else if (event.key === "ArrowLeft") change(() => { view.playing = false; view.index = (view.index + last - 1) % last; });
    else return;
    event.preventDefault();
  });
  controls.addEventListener("change", again);
  addEventListener("resize", again);

  let before = null, part = 0;
  function step(now) {
    if (!view.playing) return void (before = null);
    if (before !== null) part += ((now - before) / 1000) * data.fps * Number($("speed").value);
    before = now;
    const whole = Math.floor(part);
    if (whole > 0) {
      part -= whole;
      change(() => (view.index = (view.index + whole) % data.frames.length));
    }
    requestAnimationFrame(step);
  }
  legend();
  draw();
  if (view.playing) requestAnimationFrame(step);
}

try {
  start();
} catch (error) {
  $("problem").hidden = false;
  $("problem").textContent = error.message;
  throw error;
}
