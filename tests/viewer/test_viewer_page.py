# The viewer in headless Chromium: widgets made from the material's inputs,
# a slider changing the images, presets, the 3D preview, a package source
# recompiled on save, and bad requests answered with errors.
import json
import time
import urllib.request

import pytest

pytest.importorskip("selenium", reason="KV-SKIP: python3-selenium is not installed")
from selenium.webdriver.common.by import By  # noqa: E402
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select, WebDriverWait

from conftest import ARTIFACTS, SAMPLES, SOURCE_ROOT, call, viewer

WIDGETS = {"slider", "angle", "toggle", "color", "combobox"}


def wait_until(driver, script, timeout=20):
    return WebDriverWait(driver, timeout).until(lambda d: d.execute_script(script))


def ready(driver):
    """Waits for the page to show a version whose images are all drawn."""
    wait_until(driver, "return window.kv && kv.page && !kv.busy && document.body.dataset.version == kv.version"
                       " && [...document.querySelectorAll('canvas.kv-output')].every(c => c.width > 0)")


def output_pixels(driver, output):
    return driver.execute_script(
        f"return document.querySelector('canvas[data-output=\"{output}\"]').toDataURL()")


@pytest.fixture(scope="module")
def page(browser):
    with viewer(SAMPLES / "stone_tiles.mpk") as url:
        browser.get(url)
        ready(browser)
        yield browser, url


def test_the_widgets_are_the_inputs(page):
    browser, url = page
    _, material = call(url, "api/material")
    shown = [i for i in material["inputs"] if not i["id"].startswith("$")]
    widgets = browser.find_elements(By.CSS_SELECTOR, ".kv-widget")
    assert [w.get_attribute("data-input") for w in widgets] == [i["id"] for i in shown]
    for widget, declared in zip(widgets, shown):
        assert f"kv-{declared['widget']}" in widget.get_attribute("class").split()
        assert widget.find_element(By.CSS_SELECTOR, ".kv-label").text == declared["label"]
        if declared["widget"] in ("slider", "angle"):
            sliders = widget.find_elements(By.CSS_SELECTOR, "input[type=range]")
            assert len(sliders) == declared["count"]
            assert float(sliders[0].get_attribute("min")) == pytest.approx(declared["min"][0])
            assert float(sliders[0].get_attribute("max")) == pytest.approx(declared["max"][0])
            if "step" in declared:
                assert float(sliders[0].get_attribute("step")) == pytest.approx(declared["step"][0])
        if declared["widget"] == "combobox":
            options = Select(widget.find_element(By.TAG_NAME, "select")).options
            assert [o.text for o in options] == [item["text"] for item in declared["items"]]
    assert {d["widget"] for d in shown} >= WIDGETS
    presets = Select(browser.find_element(By.ID, "kv-presets")).options[1:]
    assert [o.text for o in presets] == material["presets"]
    assert len(browser.find_elements(By.CSS_SELECTOR, "canvas.kv-output")) == len(material["outputs"])


def test_moving_a_slider_renders_new_images(page):
    browser, url = page
    before = output_pixels(browser, "Output")
    version = browser.execute_script("return kv.version")
    slider = browser.find_element(By.CSS_SELECTOR, '.kv-widget[data-input="wear"] input[type=range]')
    slider.send_keys(Keys.END)  # the keyboard moves a range input as a drag does
    wait_until(browser, f"return kv.version > {version} && !kv.busy")
    ready(browser)
    assert output_pixels(browser, "Output") != before
    _, material = call(url, "api/material")
    assert next(i for i in material["inputs"] if i["id"] == "wear")["value"] == [1.0]
    assert browser.find_element(By.ID, "kv-state").get_attribute("value") == material["state"]
    print(f"\nslider change to new image at 512: {browser.execute_script('return kv.lastUpdateMs'):.0f} ms")


def test_a_preset_applies_and_the_3d_preview_is_lit(page):
    browser, url = page
    browser.execute_script("""
        const update = kvPreview.update;
        kvPreview.update = (...images) => { update(...images); kv.previewRatio = kvPreview.renderer.getPixelRatio(); };""")
    Select(browser.find_element(By.ID, "kv-presets")).select_by_visible_text("Old courtyard")
    wait_until(browser, "return document.getElementById('kv-seed').value === '7'")
    ready(browser)
    _, material = call(url, "api/material")
    assert "\n2779443903d i1 7\n" in material["state"] or " i1 7" in material["state"]
    assert browser.find_element(By.ID, "kv-state").get_attribute("value") == material["state"]
    maps = browser.execute_script(
        "const m = kvPreview.material; return [m.map, m.normalMap, m.roughnessMap, m.displacementMap, m.aoMap]"
        ".map(t => !!t)")
    assert maps == [True] * 5
    # WebGL runs in software here: the edit was drawn at half resolution, and
    # the preview comes back to full once edits pause.
    full = browser.execute_script("return window.devicePixelRatio || 1")
    assert browser.execute_script("return kv.previewRatio") == full / 2
    wait_until(browser, f"return kvPreview.renderer.getPixelRatio() === {full}")
    # The preview shows something other than its background: sample its pixels.
    spread = browser.execute_script("""
        const source = document.getElementById('kv-3d');
        const copy = document.createElement('canvas');
        copy.width = source.width; copy.height = source.height;
        const context = copy.getContext('2d');
        context.drawImage(source, 0, 0);
        const data = context.getImageData(0, 0, copy.width, copy.height).data;
        const seen = new Set();
        for (let i = 0; i < data.length; i += 397 * 4) seen.add(data[i] >> 3 << 10 | data[i + 1] >> 3 << 5 | data[i + 2] >> 3);
        return seen.size;""")
    assert spread > 20
    ARTIFACTS.mkdir(parents=True, exist_ok=True)
    browser.save_screenshot(str(ARTIFACTS / "viewer.png"))


def test_the_state_string_saves_and_applies(page):
    browser, url = page
    with urllib.request.urlopen(url + "api/state", timeout=10) as response:
        saved = response.read().decode()
        assert "attachment" in response.headers["Content-Disposition"]
    assert saved == browser.find_element(By.ID, "kv-state").get_attribute("value")
    status, changed = call(url, "api/value", {"id": "bevel", "value": 0.3})
    assert status == 200 and changed["state"] != saved
    status, restored = call(url, "api/state", saved.encode())
    assert status == 200 and restored["state"] == saved


def test_images_come_back_to_back_in_the_order_asked(page):
    _, url = page

    def images(names):
        status, update = call(url, "api/images?outputs=" + ",".join(names))
        assert status == 200
        return update["images"]

    singles = {name: images([name])[0] for name in ("Output", "height", "normal")}
    together = images(["height", "Output", "normal"])
    assert together == [singles[name] for name in ("height", "Output", "normal")]
    assert [image["channels"] for image in together] == [1, 4, 4]


def test_an_edit_answers_with_the_images_it_changed(page):
    _, url = page
    status, edited = call(url, "api/value", {"id": "wear", "value": 0.25})
    assert status == 200 and edited["images"]
    _, now = call(url, "api/images?outputs=" + ",".join(image["id"] for image in edited["images"]))
    assert now["images"] == edited["images"]
    status, unchanged = call(url, "api/value", {"id": "wear", "value": 0.25})
    assert status == 200 and unchanged["images"] == []


# Edits in turn, so the page reuses its buffers; the second reads the body as
# a browser without byte streams would, chunk by chunk.
@pytest.mark.parametrize("wear, reader", [(0.6, "byob"), (0.3, "chunks")])
def test_the_canvases_show_the_images_of_an_edit(page, wear, reader):
    browser, url = page
    version = browser.execute_script("""
        const [wear, reader] = arguments;
        const getReader = window.kvGetReader = ReadableStream.prototype.getReader;
        ReadableStream.prototype.getReader = function (options) {
          if (reader === "chunks" && options && options.mode === "byob") throw new TypeError("no byte stream");
          return getReader.call(this, options);
        };
        const slider = document.querySelector('.kv-widget[data-input="wear"] input[type=range]');
        slider.value = wear;
        slider.dispatchEvent(new Event("input", {bubbles: true}));
        return kv.version;""", wear, reader)
    wait_until(browser, f"return kv.version > {version} && !kv.busy")
    browser.execute_script("ReadableStream.prototype.getReader = window.kvGetReader")
    assert_canvases_show_the_server_images(browser, url)


# As when a preset is chosen while an edit's images still arrive, over a
# network slow enough that the bodies come in turns: with a browser's byte
# streams, in small pieces, and without them, chunk by chunk.
@pytest.mark.parametrize("reader", ["byob", "chunks"])
def test_updates_at_once_each_read_their_own_body(page, reader):
    browser, url = page
    error = browser.execute_async_script("""
        const [reader, done] = arguments;
        const getReader = ReadableStream.prototype.getReader;
        const reads = [ReadableStreamBYOBReader.prototype.read, ReadableStreamDefaultReader.prototype.read];
        ReadableStream.prototype.getReader = function (options) {
          if (reader === "chunks" && options && options.mode === "byob") throw new TypeError("no byte stream");
          return getReader.call(this, options);
        };
        ReadableStreamBYOBReader.prototype.read = async function (view) {
          const piece = new Uint8Array(view.buffer, view.byteOffset, Math.min(view.byteLength, 1 << 16));
          const result = await reads[0].call(this, piece);
          await new Promise((resolve) => setTimeout(resolve, 0));
          return result;
        };
        ReadableStreamDefaultReader.prototype.read = async function () {
          const result = await reads[1].call(this);
          await new Promise((resolve) => setTimeout(resolve, 0));
          return result;
        };
        for (const canvas of document.querySelectorAll("canvas.kv-output")) {
          canvas.getContext("2d").clearRect(0, 0, canvas.width, canvas.height);
        }
        // The same images in other orders: a body read into another's buffer shows.
        Promise.all(["height,Output,normal", "normal,Output,height", "Output,height"].map((ids) => update("api/images?outputs=" + ids)))
          .then(() => done(null), (e) => done(String(e)))
          .finally(() => {
            ReadableStream.prototype.getReader = getReader;
            [ReadableStreamBYOBReader.prototype.read, ReadableStreamDefaultReader.prototype.read] = reads;
          });""", reader)
    assert error is None
    assert_canvases_show_the_server_images(browser, url)


def assert_canvases_show_the_server_images(browser, url):
    _, update = call(url, "api/images?outputs=height,Output")
    step = 97
    for image in update["images"]:
        shown = browser.execute_script("""
            const [id, step] = arguments;
            const canvas = document.querySelector(`canvas[data-output="${id}"]`);
            const data = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height).data;
            const picked = [];
            for (let i = 0; i < data.length / 4; i += step) picked.push(...data.slice(i * 4, i * 4 + 4));
            return picked;""", image["id"], step)
        channels, pixels = image["channels"], image["pixels"]
        expected = []
        for i in range(0, image["width"] * image["height"], step):
            texel = list(pixels[i * channels:(i + 1) * channels])
            expected += texel * 3 + [255] if channels == 1 else texel
        assert shown == expected, image["id"]


@pytest.mark.parametrize("path, body, status", [
    ("api/value", {"id": "nothing", "value": 1}, 404),
    ("api/value", {"id": "wear", "value": "a lot"}, 400),
    ("api/value", {"id": "wear", "value": 1e300}, 400),
    ("api/value", {"id": "tiles", "value": [1, 2, 3]}, 400),
    ("api/value", {"id": "layout", "value": 2.5}, 400),
    ("api/value", {"id": "$randomseed", "value": 2 ** 40}, 400),
    ("api/value", {"id": "$outputsize", "value": [30, 30]}, 422),
    ("api/value", {"value": 1}, 400),
    ("api/value", b"{not json", 400),
    ("api/value", b"[1, 2]", 400),
    ("api/preset", {"label": "No such preset"}, 422),
    ("api/state", b"pkg://another/package\n1d f1 0.5\n", 400),
    ("api/value", b"{" + b" " * (2 << 20) + b"}", 413),
    ("api/images?outputs=Output,nothing", None, 404),
    ("../etc/passwd", None, 404),
    ("three.min.js", None, 404),
])
def test_bad_requests_get_errors_and_change_nothing(page, path, body, status):
    _, url = page
    _, before = call(url, "api/material")
    code, answer = call(url, path, body)
    assert code == status
    if code != 413:
        assert answer["error"]
    _, after = call(url, "api/material")
    assert after["state"] == before["state"]


def test_a_package_source_is_compiled_again_on_save(browser, tmp_path):
    source = tmp_path / "tiles.json"
    text = (SOURCE_ROOT / "samples" / "stone_tiles.json").read_text()
    source.write_text(text)
    with viewer(source) as url:
        browser.get(url)
        ready(browser)
        broken = json.loads(text)
        broken["graphs"][0]["nodes"][0]["kind"] = "noise.nothing"
        time.sleep(1.1)  # a new modification time, even on coarse clocks
        source.write_text(json.dumps(broken))
        wait_until(browser, "return !document.getElementById('kv-error').hidden")
        error = browser.find_element(By.ID, "kv-error").text
        assert "noise.nothing" in error and "tiles.json" in error
        assert not browser.find_element(By.ID, "kv-outputs").is_displayed()
        edited = json.loads(text)
        edited["graphs"][0]["inputs"][0]["gui"]["label"] = "Tiles edited"
        time.sleep(1.1)
        source.write_text(json.dumps(edited))
        wait_until(browser, "return document.getElementById('kv-error').hidden")
        ready(browser)
        assert browser.find_element(By.ID, "kv-outputs").is_displayed()
        labels = [e.text for e in browser.find_elements(By.CSS_SELECTOR, ".kv-label")]
        assert "Tiles edited" in labels
