#!/usr/bin/python3
# How long `kvs view` takes from a slider moved in the page to the new images
# on screen, at 512: a fresh value of the stone tiles sample's "wear" slider
# set as a drag sets it (an input event on the range element), timed in the
# page with performance.now() until the first changed output is drawn (the
# page draws each as its bytes arrive), until every one is (and the 3D
# preview), and until the frame after that. Beside it: the
# server's render time, as it reports it, and the page's request (the value,
# answered with the changed images) from the browser's resource timings.
#
#   /usr/bin/python3 bench/viewer_latency.py [--build build/py] [--changes 30]
import argparse
import os
import pathlib
import statistics
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
SLIDER = '.kv-widget[data-input="wear"] input[type=range]'
SIZE_LOG2 = 9

# Times the 3D preview's redraw (its JavaScript and WebGL calls) on each
# update, and notes when the first image of an update reaches its canvas.
TIME_PAGE = """
const update = window.kvPreview.update;
window.kvPreview.update = (...images) => {
  const begun = performance.now();
  update(...images);
  kv.previewMs = performance.now() - begun;
};
const put = CanvasRenderingContext2D.prototype.putImageData;
CanvasRenderingContext2D.prototype.putImageData = function (...args) {
  put.apply(this, args);
  if (kv.firstImageAt === null) kv.firstImageAt = performance.now();
};
"""

# Moves the slider to arguments[0] and answers in ms: from the input event
# to drawn (the page has drawn the new images) and to frame (the next frame
# has begun); the request's duration; and from the answer's last byte to
# drawn. The page marks each finished update on body[data-version].
CHANGE = """
const [value, done] = arguments;
const slider = document.querySelector('%s');
performance.clearResourceTimings();
kv.firstImageAt = null;
const begun = performance.now();
new MutationObserver((_, observer) => {
  observer.disconnect();
  const drawn = performance.now();
  requestAnimationFrame(() => {
    const frame = performance.now();
    const request = (path) => performance.getEntriesByType("resource").find((e) => e.name.includes(path));
    const post = request("api/value");
    done({first: kv.firstImageAt === null ? null : kv.firstImageAt - begun,
          drawn: drawn - begun, frame: frame - begun, post: post && post.duration,
          afterImages: post && drawn - post.responseEnd, preview: kv.previewMs});
  });
}).observe(document.body, {attributes: true, attributeFilter: ["data-version"]});
slider.value = value;
slider.dispatchEvent(new Event("input", {bubbles: true}));
""" % SLIDER


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", default=ROOT / "build" / "py", type=pathlib.Path)
    parser.add_argument("--changes", default=30, type=int)
    args = parser.parse_args()
    build = args.build.resolve()
    for needed in (build / "tools" / "kvs" / "kvs", build / "samples" / "stone_tiles.mpk"):
        if not needed.exists():
            sys.exit(f"viewer_latency: no {needed}; build the targets kvs and samples")
    os.environ["KV_BUILD_DIR"] = str(build)
    sys.path.insert(0, str(ROOT / "tests" / "viewer"))
    from conftest import call, headless_chromium, viewer

    driver, missing = headless_chromium()
    if driver is None:
        sys.exit(f"viewer_latency: {missing}")
    samples = {}
    try:
        with viewer(build / "samples" / "stone_tiles.mpk") as url:
            driver.get(url)
            ready = "return window.kv && kv.page && !kv.busy && document.body.dataset.version == kv.version"
            wait(driver, ready + " && kv.page.inputs")
            driver.execute_script(f"""const size = document.getElementById("kv-size");
                size.value = {SIZE_LOG2}; size.dispatchEvent(new Event("change"));""")
            wait(driver, ready + " && document.querySelector('canvas.kv-output').width == "
                 f"{1 << SIZE_LOG2}")
            driver.execute_script(TIME_PAGE)
            low, high = (float(driver.execute_script(f"return document.querySelector('{SLIDER}').{end}"))
                         for end in ("min", "max"))
            # New values every time, as a drag gives: nothing comes whole from the engine's cache.
            for k in range(args.changes):
                value = low + (high - low) * ((k + 1) * 0.6180339887498949 % 1.0)
                timings = driver.execute_async_script(CHANGE, value)
                _, material = call(url, "api/material")
                timings["render"] = material["renderMs"]
                for name, ms in timings.items():
                    samples.setdefault(name, []).append(ms)
                wait(driver, ready)
    finally:
        driver.quit()
    report(samples, args.changes)


def wait(driver, script, seconds=30):
    from selenium.webdriver.support.ui import WebDriverWait
    WebDriverWait(driver, seconds).until(lambda d: d.execute_script(script))


def report(samples, changes):
    rows = [("input event to the first new image drawn", "first"),
            ("input event to new images drawn", "drawn"), ("input event to the next frame", "frame"),
            ("server render (changed outputs, to 8-bit images)", "render"),
            ("request: the value, answered with the images", "post"),
            ("images received to drawn (canvases, 3D preview)", "afterImages"),
            ("of which the 3D preview's redraw", "preview")]
    print(f"{changes} slider changes at {1 << SIZE_LOG2}; load average now {os.getloadavg()[0]:.1f}")
    print(f"| {'ms':<48} | {'median':>7} | {'90th %':>7} |")
    print(f"|{'-' * 50}|{'-' * 8}:|{'-' * 8}:|")
    for label, name in rows:
        values = [v for v in samples[name] if v is not None]  # a resource timing may come late
        print(f"| {label:<48} | {statistics.median(values):7.1f} | "
              f"{statistics.quantiles(values, n=10)[-1]:7.1f} |")


if __name__ == "__main__":
    main()
