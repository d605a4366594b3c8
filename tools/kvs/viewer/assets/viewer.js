// The viewer page: builds a widget per input from /api/material, sends each
// change to the server, which renders through the library and answers with
// the images of the outputs that changed; draws them and the 3D preview.
"use strict";

const kv = { page: null, version: -1, busy: false, queued: null, changedAt: 0, lastUpdateMs: null };
window.kv = kv;

const $ = (id) => document.getElementById(id);

async function api(path, options) {
  const response = await fetch(path, options);
  const body = await response.json();
  if (!response.ok) throw new Error(body.error || response.statusText);
  return body;
}

// Memory the page keeps between updates: a buffer to read bodies into, and
// each canvas's RGBA texels. Fresh memory of a few MiB cost more to fault in
// than the bytes took to arrive (11 ms against 20 for an update at 512 in
// headless Chromium), and a slider drag asks for it many times a second.
let spareBuffer = new ArrayBuffer(0);
const canvasTexels = new WeakMap();

// Reads the body, and calls arrived(bytes) each time more is in: bytes spans
// what has arrived so far; the whole body. The spare buffer is the update's
// own until it gives it back (another update at the same time gets a new
// one), read into where the browser can (a BYOB reader), else filled chunk
// by chunk.
async function receive(response, arrived) {
  const length = +response.headers.get("Content-Length");
  if (!Number.isSafeInteger(length)) throw new Error("the server's answer has no length");
  let buffer = spareBuffer.byteLength >= length ? spareBuffer : new ArrayBuffer(length);
  spareBuffer = new ArrayBuffer(0);
  let received = 0;
  let reader = null;
  try {
    reader = response.body.getReader({ mode: "byob" });
  } catch (e) {
    reader = null; // not a byte stream in this browser
  }
  if (reader) {
    while (received < length) {
      // The read takes the buffer and gives it back as value.buffer.
      const { done, value } = await reader.read(new Uint8Array(buffer, received, length - received));
      if (value) buffer = value.buffer;
      if (done) break;
      received += value.byteLength;
      arrived(new Uint8Array(buffer, 0, received));
    }
    reader.releaseLock();
  } else {
    const chunks = response.body.getReader();
    for (;;) {
      const { done, value } = await chunks.read();
      if (done) break;
      if (received + value.length > length) throw new Error("the server sent more than it announced");
      new Uint8Array(buffer).set(value, received);
      received += value.length;
      arrived(new Uint8Array(buffer, 0, received));
    }
  }
  return new Uint8Array(buffer, 0, received);
}

// The server's updates: a little-endian 32-bit length, that much JSON, then
// the images it lists ({id, width, height, channels}) back to back. Each
// image goes to drawImage as soon as its bytes are in, while the rest still
// arrive; then the preview takes them all.
async function update(path, options) {
  const response = await fetch(path, options);
  if (!response.ok) {
    const body = await response.json();
    throw new Error(body.error || response.statusText);
  }
  let result = null, drawn = 0;
  const offsets = []; // where each image starts in the body
  // Image k's pixels in the body, or null while not all of them are in.
  const pixels = (body, k) => {
    const image = result.images[k];
    const end = offsets[k] + image.width * image.height * image.channels;
    return end <= body.length ? body.subarray(offsets[k], end) : null;
  };
  const body = await receive(response, (bytes) => {
    if (!result) {
      if (bytes.length < 4) return;
      const length = new DataView(bytes.buffer).getUint32(0, true);
      if (bytes.length < 4 + length) return;
      result = JSON.parse(new TextDecoder().decode(bytes.subarray(4, 4 + length)));
      let start = 4 + length;
      for (const image of result.images) {
        offsets.push(start);
        start += image.width * image.height * image.channels;
      }
    }
    for (let ready; drawn < result.images.length && (ready = pixels(bytes, drawn)); ++drawn) {
      drawImage(result.images[drawn], ready);
    }
  });
  try {
    if (!result || drawn < result.images.length) throw new Error("the server's answer was cut short");
    // The views handed out while reading may belong to a buffer since passed
    // on: the preview takes the whole body's, and copies them.
    if (result.images.length && window.kvPreview) {
      const images = result.images.map((image, k) => ({ ...image, pixels: pixels(body, k) }));
      window.kvPreview.update(kv.page.outputs, images);
    }
  } finally {
    spareBuffer = body.buffer;
  }
  return result;
}

function post(path, body) {
  return update(path, { method: "POST", body: typeof body === "string" ? body : JSON.stringify(body) });
}

function showError(text) {
  $("kv-error").hidden = !text;
  $("kv-error").textContent = text || "";
}

// ---- widgets ---------------------------------------------------------------

function toHex(rgb) {
  return "#" + rgb.slice(0, 3).map((v) => Math.round(Math.min(1, Math.max(0, v)) * 255)
    .toString(16).padStart(2, "0")).join("");
}

function fromHex(hex, old) {
  const rgb = [1, 3, 5].map((i) => parseInt(hex.substr(i, 2), 16) / 255);
  return old.length > 3 ? rgb.concat(old.slice(3)) : rgb;
}

function rangeOf(input, k) {
  const pick = (list, fallback) => (list && list.length ? list[Math.min(k, list.length - 1)] : fallback);
  const min = pick(input.min, 0);
  const max = pick(input.max, input.integer ? 10 : 1);
  return { min, max, step: pick(input.step, input.integer ? 1 : (max - min) / 200) };
}

function sliderWidget(input, box) {
  const value = input.value.slice();
  input.value.forEach((v, k) => {
    const row = document.createElement("div");
    row.className = "kv-component";
    const slider = document.createElement("input");
    const { min, max, step } = rangeOf(input, k);
    Object.assign(slider, { type: "range", min, max, step, value: v });
    slider.dataset.component = k;
    const shown = document.createElement("output");
    const show = (x) => { shown.textContent = input.widget === "angle" ? Math.round(x * 360) + "°" : (+x).toFixed(input.integer ? 0 : 3); };
    show(v);
    slider.addEventListener("input", () => {
      value[k] = +slider.value;
      show(slider.value);
      change(input.id, value);
    });
    row.append(slider, shown);
    box.append(row);
  });
}

function makeWidget(input) {
  const box = document.createElement("div");
  box.className = "kv-widget kv-" + input.widget;
  box.dataset.input = input.id;
  box.title = input.description || "";
  const label = document.createElement("label");
  label.className = "kv-label";
  label.textContent = input.label || input.id;
  box.append(label);
  if (input.widget === "color" && input.count >= 3) {
    const picker = document.createElement("input");
    picker.type = "color";
    picker.value = toHex(input.value);
    picker.addEventListener("input", () => change(input.id, fromHex(picker.value, input.value)));
    box.append(picker);
  } else if (input.widget === "toggle") {
    const check = document.createElement("input");
    check.type = "checkbox";
    check.checked = input.value[0] !== 0;
    check.addEventListener("change", () => change(input.id, [check.checked ? 1 : 0]));
    label.prepend(check);
  } else if (input.widget === "combobox") {
    const select = document.createElement("select");
    for (const item of input.items) select.add(new Option(item.text, item.value, false, item.value === input.value[0]));
    select.addEventListener("change", () => change(input.id, [+select.value]));
    box.append(select);
  } else {
    sliderWidget(input, box); // slider, angle, a one-value colour, and inputs with no widget
  }
  return box;
}

// ---- rendering ---------------------------------------------------------------

// The opaque RGBA texel of each gray level, as a little-endian word (every
// browser's platform is little-endian).
const grayTexels = Uint32Array.from({ length: 256 }, (_, v) => (0xff000000 | v * 0x010101) >>> 0);

// The image's pixels as RGBA for the canvas: a gray image spread to the
// colour channels, opaque, in texels the canvas keeps for the next time.
function imageData(canvas, image, pixels) {
  const { width, height } = image;
  if (image.channels === 4) {
    return new ImageData(new Uint8ClampedArray(pixels.buffer, pixels.byteOffset, pixels.length), width, height);
  }
  let data = canvasTexels.get(canvas);
  if (!data || data.width !== width || data.height !== height) {
    data = new ImageData(width, height);
    canvasTexels.set(canvas, data);
  }
  const texels = new Uint32Array(data.data.buffer);
  for (let i = 0; i < pixels.length; ++i) texels[i] = grayTexels[pixels[i]];
  return data;
}

function drawImage(image, pixels) {
  const canvas = document.querySelector(`canvas[data-output="${CSS.escape(image.id)}"]`);
  if (!canvas) return;
  // Setting a canvas's size clears and reallocates it, even to the same size.
  if (canvas.width !== image.width) canvas.width = image.width;
  if (canvas.height !== image.height) canvas.height = image.height;
  canvas.getContext("2d").putImageData(imageData(canvas, image, pixels), 0, 0);
}

async function drawAll() {
  const ids = kv.page.outputs.map((o) => encodeURIComponent(o.id));
  if (ids.length) await update("api/images?outputs=" + ids.join(","));
}

function showResult(result) {
  kv.version = result.version;
  document.body.dataset.version = result.version;
  $("kv-state").value = result.state;
  const took = performance.now() - kv.changedAt;
  kv.lastUpdateMs = took;
  $("kv-timing").textContent = `render ${result.renderMs.toFixed(0)} ms, page ${took.toFixed(0)} ms`;
}

// Changes arriving while a render runs are merged: only the latest is sent.
async function change(id, value) {
  kv.changedAt = performance.now();
  kv.queued = { id, value };
  if (kv.busy) return;
  kv.busy = true;
  try {
    while (kv.queued) {
      const next = kv.queued;
      kv.queued = null;
      showResult(await post("api/value", next));
    }
    showError("");
  } catch (e) {
    showError(e.message);
  } finally {
    kv.busy = false;
  }
}

// A preset or a state changes any number of inputs: the widgets are built again.
async function whole(path, body) {
  kv.changedAt = performance.now();
  try {
    const result = await post(path, body);
    kv.page = await api("api/material");
    buildInputs(kv.page);
    showResult(result);
  } catch (e) {
    showError(e.message);
  }
}

// ---- the page ------------------------------------------------------------------

function buildInputs(page) {
  document.title = "kvs view: " + (page.label || page.url || "");
  $("kv-title").textContent = page.label || page.url || "";
  const inputs = $("kv-inputs");
  inputs.replaceChildren(...page.inputs.filter((i) => !i.id.startsWith("$") && i.count > 0).map(makeWidget));
  const presets = $("kv-presets");
  const chosen = presets.value;
  presets.replaceChildren(new Option("(choose a preset)", ""),
    ...page.presets.map((p) => new Option(p, p, false, p === chosen)));
  const seed = page.inputs.find((i) => i.id === "$randomseed");
  $("kv-seed").value = seed ? seed.value[0] : 0;
  const size = page.inputs.find((i) => i.id === "$outputsize");
  $("kv-size").replaceChildren(...[6, 7, 8, 9, 10, 11].map((n) =>
    new Option(`${1 << n} × ${1 << n}`, n, false, size && size.value[0] === n)));
  $("kv-state").value = page.state;
}

function buildOutputs(page) {
  const outputs = $("kv-outputs");
  outputs.replaceChildren(...page.outputs.map((output) => {
    const figure = document.createElement("figure");
    const canvas = document.createElement("canvas");
    canvas.className = "kv-output";
    canvas.dataset.output = output.id;
    const caption = document.createElement("figcaption");
    caption.textContent = `${output.label} (${output.id})`;
    figure.append(canvas, caption);
    return figure;
  }));
}

async function load() {
  const page = await api("api/material");
  kv.page = page;
  kv.version = page.version;
  showError(page.error);
  $("kv-outputs").classList.toggle("kv-hidden", !!page.error);
  $("kv-preview").classList.toggle("kv-hidden", !!page.error);
  if (page.inputs) {
    buildInputs(page);
    buildOutputs(page);
    if (!page.error) await drawAll(); // while the source does not compile, the page shows why instead
  }
  document.body.dataset.version = page.version;
}

// A package source is compiled again on save: look for new versions.
async function watch() {
  try {
    const page = await api("api/material");
    if (page.version !== kv.version && !kv.busy) await load();
  } catch (e) {
    showError(e.message);
  }
  setTimeout(watch, 400);
}

$("kv-presets").addEventListener("change", (e) => { if (e.target.value) whole("api/preset", { label: e.target.value }); });
$("kv-seed").addEventListener("change", (e) => change("$randomseed", [Math.max(0, Math.round(+e.target.value))]));
$("kv-reseed").addEventListener("click", () => {
  $("kv-seed").value = Math.floor(Math.random() * 10000);
  change("$randomseed", [+$("kv-seed").value]);
});
$("kv-size").addEventListener("change", (e) => change("$outputsize", [+e.target.value, +e.target.value]));
$("kv-copy").addEventListener("click", () => navigator.clipboard.writeText($("kv-state").value));
$("kv-save").addEventListener("click", () => { window.location.href = "api/state"; });

load().then(() => { if (kv.page.source) watch(); }).catch((e) => showError(e.message));
