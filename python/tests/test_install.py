"""The module as `cmake --install` lays it out: beside the libraries, with the data files."""
import glob
import os
import subprocess
import sys

CHECK = """
import fenrak, sys
assert fenrak.__file__.startswith(sys.argv[1]), fenrak.__file__
assert sys.argv[1] + "/libfenrak_core.so" in open("/proc/self/maps").read()  # the installed library
with fenrak.Network() as net:
    net.load_scene(sys.argv[2] + "/share/fenrak/scenes/function-lattice.json")
    assert net.render(size=(64, 48)).std() > 0
"""


def test_the_installed_module_imports_from_the_prefix_and_draws(tmp_path):
    prefix = str(tmp_path / "prefix")
    subprocess.run([os.environ["FENRAK_CMAKE"], "--install", os.environ["FENRAK_BUILD_DIR"], "--prefix", prefix],
                   check=True, capture_output=True)
    [module] = glob.glob(os.path.join(prefix, "lib*", "**", "fenrak.*.so"), recursive=True)
    env = dict(os.environ, PYTHONPATH=os.path.dirname(module))
    subprocess.run([sys.executable, "-c", CHECK, os.path.dirname(module), prefix], check=True, env=env,
                   cwd=str(tmp_path))
