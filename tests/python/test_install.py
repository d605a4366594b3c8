# The module installs with the rest of the project and works from the prefix,
# finding the library it links through its run path.
import os
import subprocess
import sys
import sysconfig

from conftest import BUILD_DIR, SAMPLES


def test_the_installed_module_imports_and_renders(tmp_path):
    prefix = tmp_path / "prefix"
    subprocess.run(["cmake", "--install", str(BUILD_DIR), "--prefix", str(prefix)], check=True,
                   capture_output=True)
    version = sysconfig.get_python_version()
    site = prefix / "lib" / f"python{version}" / "dist-packages"
    assert any(p.name.startswith("kvsubstance.") for p in site.iterdir())
    env = {k: v for k, v in os.environ.items() if k not in ("PYTHONPATH", "LD_LIBRARY_PATH")}
    env["PYTHONPATH"] = str(site)
    script = ("import kvsubstance, sys; m = kvsubstance.open(sys.argv[1]); m.size = 16;"
              "print(kvsubstance.__file__, m.render('Output')['Output'].shape)")
    run = subprocess.run([sys.executable, "-c", script, str(SAMPLES / "stone_tiles.mpk")], env=env, cwd=tmp_path,
                         check=True, capture_output=True, text=True)
    assert run.stdout.startswith(str(site)) and "(16, 16, 4)" in run.stdout
