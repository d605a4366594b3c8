# Fixtures of the viewer tests: a `kvs view` server on a free loopback port,
# and headless Chromium driven through chromedriver.
import contextlib
import json
import os
import pathlib
import shutil
import subprocess
import urllib.error
import urllib.request

import pytest

SOURCE_ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD_DIR = pathlib.Path(os.environ.get("KV_BUILD_DIR", SOURCE_ROOT / "build" / "py"))
SAMPLES = BUILD_DIR / "samples"
KVS = BUILD_DIR / "tools" / "kvs" / "kvs"
ARTIFACTS = pathlib.Path(os.environ.get("KV_ARTIFACTS", BUILD_DIR / "artifacts"))

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
except ImportError:  # the test module skips, saying why
    webdriver = None


@contextlib.contextmanager
def viewer(*arguments):
    """Runs `kvs view ARGUMENTS --port 0`; yields its address; checks it stops cleanly."""
    process = subprocess.Popen([str(KVS), "view", *map(str, arguments), "--port", "0"], stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE, text=True)
    try:
        line = process.stdout.readline()
        assert line.startswith("serving http://127.0.0.1:"), line + process.stderr.read()
        yield line.split()[1]
    finally:
        process.terminate()
        assert process.wait(timeout=10) == 0, process.stderr.read()


def read_update(data):
    """An update's JSON, each image it lists with its bytes under "pixels"."""
    length = int.from_bytes(data[:4], "little")
    result = json.loads(data[4:4 + length])
    offset = 4 + length
    for image in result["images"]:
        size = image["width"] * image["height"] * image["channels"]
        image["pixels"] = data[offset:offset + size]
        offset += size
    assert offset == len(data), "bytes after the images"
    return result


def call(url, path, body=None):
    """(status, decoded answer) of a request to the viewer: JSON, or an update."""
    data = body if body is None or isinstance(body, bytes) else json.dumps(body).encode()
    try:
        with urllib.request.urlopen(url + path, data=data, timeout=10) as response:
            answer = response.read()
            if response.headers.get_content_type() == "application/octet-stream":
                return response.status, read_update(answer)
            return response.status, json.loads(answer)
    except urllib.error.HTTPError as error:
        return error.code, json.loads(error.read() or b"{}")


def headless_chromium():
    """(driver, None) for headless Chromium through chromedriver, or (None, why not)."""
    if webdriver is None:
        return None, "python3-selenium is not installed"
    chromium = shutil.which("chromium")
    driver_path = shutil.which("chromedriver")
    if not chromium or not driver_path:
        return None, "chromium and chromium-driver are not installed"
    options = webdriver.ChromeOptions()
    options.binary_location = chromium
    for flag in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--window-size=1280,900",
                 "--use-gl=angle", "--use-angle=swiftshader", "--enable-unsafe-swiftshader"):
        options.add_argument(flag)
    driver = webdriver.Chrome(service=Service(executable_path=driver_path), options=options)
    driver.set_script_timeout(20)
    return driver, None


@pytest.fixture(scope="session")
def browser():
    driver, missing = headless_chromium()
    if driver is None:
        pytest.skip("KV-SKIP: " + missing)
    yield driver
    driver.quit()
