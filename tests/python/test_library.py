"""Where the package finds the component; its stubs; the samples in both languages."""

import os
import pathlib
import shutil
import subprocess
import sysconfig
import tempfile
import unittest

from support import CORPUS, ENVIRONMENT, ROOT, SAMPLES, run
from tallowbrook import _library

PACKAGE = ROOT / "python" / "tallowbrook"
CREATE = ("import tallowbrook; tallowbrook.CreateObject('Tallowbrook.Decoder'); "
          "print(tallowbrook._library.component_path())")


class Finding(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        component = pathlib.Path(_library.component_path()).resolve()
        self.files = [component, *component.parent.glob("libtallowbrook-platform.so*")]

    def put_libraries(self, folder):
        """As they are installed: without the name for building."""
        target = self.folder / folder
        target.mkdir(parents=True, exist_ok=True)
        for file in self.files:
            if file.name != "libtallowbrook-platform.so":
                shutil.copy(file, target, follow_symlinks=False)
        return target / "libtallowbrook.so"

    def put_package(self, folder):
        shutil.copytree(PACKAGE, self.folder / folder / "tallowbrook")
        return self.folder / folder

    def assert_finds(self, library, **environment):
        done = run("-c", CREATE, **environment)
        self.assertEqual((done.stdout.strip(), done.stderr), (str(library), ""))

    def test_the_environment_variable_names_a_file_or_a_folder(self):
        library = self.put_libraries("somewhere")
        for setting in (library, library.parent):
            self.assert_finds(library, PYTHONPATH=ROOT / "python", TALLOWBROOK_LIBRARY=setting)
        done = run("-c", CREATE, PYTHONPATH=ROOT / "python", TALLOWBROOK_LIBRARY=self.folder)
        self.assertIn("libtallowbrook.so is not there", done.stderr)

    def test_beside_the_package(self):
        """In the build tree and under the prefix that it is installed to."""
        multiarch = sysconfig.get_config_var("MULTIARCH") or "x86_64-linux-gnu"
        for package, folders in (
                ("python", ("build/debug/lib", "build/release/lib")),
                ("usr/lib/python3/dist-packages", ("usr/lib", f"usr/lib/{multiarch}"))):
            path = self.put_package(package)
            (self.folder / "CMakeLists.txt").touch()
            for folder in folders:
                self.assert_finds(self.put_libraries(folder), PYTHONPATH=path)

    def test_the_loader(self):
        package = self.put_package("modules")
        library = self.put_libraries("libraries")
        self.assert_finds("libtallowbrook.so", PYTHONPATH=package, LD_LIBRARY_PATH=library.parent)

    def test_the_registration(self):
        package = self.put_package("modules")
        component = self.put_libraries("registered")
        layer = self.put_libraries("layer")
        layer.unlink()
        registry = {"TALLOWBROOK_USER_REGISTRY": self.folder / "registry",
                    "TALLOWBROOK_MACHINE_REGISTRY": self.folder / "machine",
                    "TALLOWBROOK_REGISTER_FOR_USER": 1}
        environment = {"PYTHONPATH": package, "LD_LIBRARY_PATH": layer.parent, **registry}
        done = run("-c", CREATE, **environment)
        self.assertIn("CO_E_CLASSSTRING", done.stderr)
        self.assertIn("libtallowbrook.so", done.stderr)  # that it could not be loaded
        register = f"import ctypes; exit(ctypes.CDLL({str(component)!r}).DllRegisterServer())"
        self.assertEqual(run("-c", register, **registry).returncode, 0)
        self.assert_finds("libtallowbrook.so", **environment)

    def test_nowhere(self):
        done = run("-c", CREATE, PYTHONPATH=self.put_package("modules"))
        if done.returncode == 0:
            self.skipTest("Tallowbrook is installed on this machine")
        self.assertRegex(done.stderr, "OSError: Tallowbrook's platform layer .*TALLOWBROOK_LIBRARY")


class Scripts(unittest.TestCase):
    def test_stubs_are_up_to_date(self):
        done = run(ROOT / "scripts" / "python-stubs", "--check", **ENVIRONMENT)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        for stub in PACKAGE.glob("*.pyi"):
            compile(stub.read_text(), str(stub), "exec")

    def test_samples_say_the_same(self):
        program = os.environ.get("TALLOWBROOK_SAMPLE")
        if not program:
            self.skipTest("TALLOWBROOK_SAMPLE does not name the built sample")
        for folder in filter(pathlib.Path.is_dir, (SAMPLES, CORPUS)):
            script = run(SAMPLES / "attachments.py", folder, **ENVIRONMENT)
            self.assertEqual(script.stderr, "")
            environment = {**os.environ, "TALLOWBROOK_LIBRARY": _library.component_path()}
            compiled = subprocess.run([program, folder], text=True, capture_output=True,
                                      env=environment, timeout=300)
            self.assertEqual(script.stdout, compiled.stdout)
            self.assertIn(".eml: ", script.stdout)
