// The lit 3D preview: the material on a plane and a sphere, its maps the
// output images the server sent, picked by usage (base colour, normal,
// roughness, height, ambient occlusion). Drag to turn the objects.
"use strict";

(function () {
  if (typeof THREE === "undefined") return; // no three.js: the page works without a preview
  const canvas = document.getElementById("kv-3d");
  let renderer;
  try {
    // Without multisampling, and with meshes just fine enough for the height
    // map's relief: where WebGL runs in software, as on machines with no GPU,
    // a frame with them took 250 ms instead of 25.
    renderer = new THREE.WebGLRenderer({ canvas, antialias: false, preserveDrawingBuffer: true });
  } catch (e) {
    return; // no WebGL here
  }
  renderer.setPixelRatio(window.devicePixelRatio || 1);
  renderer.setSize(canvas.clientWidth || 720, canvas.clientHeight || 340, false);
  renderer.gammaOutput = true; // this three.js writes sRGB with this flag
  renderer.gammaFactor = 2.2;

  const scene = new THREE.Scene();
  scene.background = new THREE.Color(0x15161a);
  const camera = new THREE.PerspectiveCamera(35, 720 / 340, 0.1, 50);
  camera.position.set(0, 1.4, 4.2);
  camera.lookAt(0, 0, 0);
  scene.add(new THREE.HemisphereLight(0xdde6ff, 0x302820, 0.55));
  const sun = new THREE.DirectionalLight(0xffffff, 1.6);
  sun.position.set(3, 4, 3);
  scene.add(sun);

  const material = new THREE.MeshStandardMaterial({ color: 0xffffff, roughness: 1, metalness: 0 });
  const withUv2 = (geometry) => {
    geometry.setAttribute("uv2", geometry.attributes.uv); // occlusion reads the second UV set
    return geometry;
  };
  const plane = new THREE.Mesh(withUv2(new THREE.PlaneBufferGeometry(2, 2, 96, 96)), material);
  plane.rotation.x = -Math.PI / 2.6;
  plane.position.x = -1.15;
  const sphere = new THREE.Mesh(withUv2(new THREE.SphereBufferGeometry(0.85, 64, 48)), material);
  sphere.position.x = 1.15;
  scene.add(plane, sphere);

  const roles = [
    ["map", ["diffuse", "baseColor"], /colou?r|albedo|diffuse|^output$/i],
    ["normalMap", ["normal"], /normal/i],
    ["roughnessMap", ["roughness"], /rough/i],
    ["displacementMap", ["height", "displacement"], /height|disp/i],
    ["aoMap", ["ambientOcclusion"], /occlusion|^ao$|ambient/i],
  ];
  const textures = {};

  function find(outputs, usages, pattern) {
    return outputs.find((o) => usages.includes(o.usage) && pattern.test(o.id + " " + o.usage)) ||
      outputs.find((o) => pattern.test(o.id));
  }

  // The map of an image as the server sent it: a gray one stays one channel.
  // Its texels are copied into the texture's own, kept from the last time
  // (the page reuses the buffer the image arrived in).
  function fill(texture, image) {
    const kept = texture.image.data;
    const data = kept && kept.length === image.pixels.length ? kept : new Uint8Array(image.pixels.length);
    data.set(image.pixels);
    texture.image = { data, width: image.width, height: image.height };
    texture.format = image.channels === 1 ? THREE.LuminanceFormat : THREE.RGBAFormat;
    texture.needsUpdate = true;
  }

  function newTexture(slot) {
    const texture = new THREE.DataTexture(null, 1, 1);
    texture.flipY = true; // the images' rows run from the top
    texture.wrapS = texture.wrapT = THREE.RepeatWrapping;
    texture.magFilter = THREE.LinearFilter;
    texture.minFilter = THREE.LinearMipmapLinearFilter;
    texture.generateMipmaps = true;
    if (slot === "map") texture.encoding = THREE.sRGBEncoding;
    return texture;
  }

  // Takes the images of the outputs that changed, then draws.
  function update(outputs, images) {
    let maps = false;
    for (const [slot, usages, pattern] of roles) {
      const output = find(outputs, usages, pattern);
      const image = output && images.find((i) => i.id === output.id);
      if (image) {
        textures[slot] = textures[slot] || newTexture(slot);
        fill(textures[slot], image);
      } else if (!output && textures[slot]) {
        textures[slot].dispose(); // a recompiled source lost the output
        delete textures[slot];
      }
      maps = maps || material[slot] !== (textures[slot] || null);
      material[slot] = textures[slot] || null;
    }
    material.displacementScale = 0.06;
    material.displacementBias = -0.03;
    material.needsUpdate = maps; // another set of maps needs another shader
    drawMoving();
  }

  // Where WebGL runs in software, a frame of the preview costs tens of
  // milliseconds (32 ms at 720 × 340 without a GPU, more than the rest of an
  // edit): there, while edits or a turn of the objects come in, the preview
  // is drawn at half resolution, and at full once they pause for SETTLE_MS.
  const SETTLE_MS = 250;
  const fullRatio = window.devicePixelRatio || 1;
  const software = (() => {
    const gl = renderer.getContext();
    const info = gl.getExtension("WEBGL_debug_renderer_info");
    const name = info ? gl.getParameter(info.UNMASKED_RENDERER_WEBGL) : gl.getParameter(gl.RENDERER);
    return /swiftshader|llvmpipe|softpipe|software|basic render/i.test(name);
  })();
  let turn = 0.6, dragging = null, settling = null;
  function draw(ratio = fullRatio) {
    if (renderer.getPixelRatio() !== ratio) {
      renderer.setPixelRatio(ratio);
      renderer.setSize(canvas.clientWidth || 720, canvas.clientHeight || 340, false);
    }
    plane.rotation.z = turn * 0.5;
    sphere.rotation.y = turn;
    renderer.render(scene, camera);
  }
  function drawMoving() {
    clearTimeout(settling);
    if (!software) return draw();
    draw(fullRatio / 2);
    settling = setTimeout(() => draw(), SETTLE_MS);
  }
  canvas.addEventListener("pointerdown", (e) => { dragging = e.clientX; canvas.setPointerCapture(e.pointerId); });
  canvas.addEventListener("pointermove", (e) => {
    if (dragging === null) return;
    turn += (e.clientX - dragging) * 0.01;
    dragging = e.clientX;
    requestAnimationFrame(drawMoving);
  });
  canvas.addEventListener("pointerup", () => { dragging = null; });
  window.kvPreview = { update, material, renderer };
  draw();
})();
