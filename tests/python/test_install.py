# The package installs with the rest of the project and works from the prefix,
# its compiled part finding the library it links through its run path.
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
    package = site / "kvsubstance"
    assert any(p.name.startswith("_core.") for p in package.iterdir())
    assert (package / "__init__.py").exists() and (package / "batch" / "__main__.py").exists()
    env = {k: v for k, v in os.environ.items() if k not in ("PYTHONPATH", "LD_LIBRARY_PATH")}
    env["PYTHONPATH"] = str(site)
    script = ("import kvsubstance, sys; m = kvsubstance.open(sys.argv[1]); m.size = 16;"
              "print(kvsubstance.__file__, m.render('Output')['Output'].shape, kvsubstance.Material.__module__)")
    run = subprocess.run([sys.executable, "-c", script, str(SAMPLES / "stone_tiles.mpk")], env=env, cwd=tmp_path,
                         check=True, capture_output=True, text=True)
    assert run.stdout.startswith(str(site)) and "(16, 16, 4) kvsubstance" in run.stdout
