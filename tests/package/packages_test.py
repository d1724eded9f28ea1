#!/usr/bin/env python3
"""The packages that are handed out: the Windows installer under Wine, the Debian package in a copy of this system.

  packages_test.py --windows BUILD --native BUILD
"""
import argparse
import filecmp
import glob
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
DEADLINE = 120  # seconds for any one program

options = None


def run(*command, **settings):
    result = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                            timeout=DEADLINE, **settings)
    if result.returncode != 0:
        raise AssertionError(f"{' '.join(command)}: {result.returncode}\n{result.stdout}")
    return result.stdout


def pack(build, folder, *settings, **environment):
    """Packs a finished build; the package's path."""
    run("cpack", "--config", os.path.join(build, "CPackConfig.cmake"), "-B", folder, *settings, env={**os.environ, **environment})
    (package,) = glob.glob(os.path.join(folder, "orvctl[-_]*"))
    return package


class Package(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp()
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.package = pack(cls.build(), os.path.join(cls.folder, "packed"))

    def expect_same_bytes_elsewhere_and_later(self):
        # Another kind of file system lists the files of a folder in another order.
        with tempfile.TemporaryDirectory(dir="/dev/shm") as memory:
            again = pack(self.build(), memory, TZ="Asia/Tokyo")
            self.assertTrue(filecmp.cmp(self.package, again, shallow=False))
            for path in glob.glob(os.path.join(memory, "_CPack_Packages", "*", "*", "orvctl*", "**", "*"), recursive=True):
                if os.path.isfile(path):
                    with open(path, "rb") as file:
                        self.assertNotIn(os.path.dirname(self.build()).encode(), file.read(), path)


class DebianPackage(Package):
    # Run in the copy: what the system has of the package, as a list, at the end of each step.
    USE = r"""
        set -e
        cd /
        export HOME=/tmp/home LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive
        mkdir $HOME
        find /usr /etc /opt | sort >/tmp/before
        apt-get -qq install -y "$1" >/tmp/log 2>&1 || { cat /tmp/log; exit 1; }
        orvctl controls 0 --mode Movie/Internal
        source /usr/share/bash-completion/completions/orvctl
        complete -p orvctl
        gzip -dc /usr/share/man/man1/orvctl.1.gz | head -n 3
        cmake -S /usr/share/orv_apo/client -B /tmp/client >/tmp/log 2>&1 && cmake --build /tmp/client >>/tmp/log 2>&1 ||
          { cat /tmp/log; exit 1; }
        orvctl machine new /tmp/machine
        ORV_MACHINE=/tmp/machine /tmp/client/client
        apt-get -qq purge -y orvctl >/tmp/log 2>&1 || { cat /tmp/log; exit 1; }
        find /usr /etc /opt | sort | diff /tmp/before - && echo "nothing is left"
        """
    # Everything is written to memory; nothing of it reaches the system itself.
    COPY = r"""
        set -e
        trap 'umount -R -l "$1"' EXIT
        mount -t tmpfs none "$1"
        mkdir "$1/changes" "$1/work" "$1/system"
        mount -t overlay none -o "lowerdir=/,upperdir=$1/changes,workdir=$1/work" "$1/system"
        mount --rbind /proc "$1/system/proc"
        for place in /tmp /dev; do mount -t tmpfs none "$1/system$place"; done
        for device in null zero random urandom; do
          touch "$1/system/dev/$device"
          mount --bind "/dev/$device" "$1/system/dev/$device"
        done
        ln -s /proc/self/fd "$1/system/dev/fd"
        cp "$2" "$1/system/tmp"
        chroot "$1/system" bash -c "$3" bash "/tmp/$(basename "$2")"
        """

    @staticmethod
    def build():
        return options.native

    def test_the_same_build_gives_the_same_bytes(self):
        self.expect_same_bytes_elsewhere_and_later()

    def test_it_follows_the_rules_for_packages(self):
        run("lintian", "--allow-root", "--fail-on", "error,warning", self.package)

    def test_apt_installs_it_a_client_is_built_with_it_and_apt_removes_it(self):
        folder = tempfile.mkdtemp(dir=self.folder)
        apart = ["unshare", "--mount", *([] if os.geteuid() == 0 else ["--map-root-user"])]
        if subprocess.run([*apart, "true"], stderr=subprocess.DEVNULL, check=False).returncode != 0:
            apart = []  # in a changed root there is no place of its own for mounts
        seen = run(*apart, "bash", "-c", self.COPY, "bash", folder, self.package, self.USE)
        self.assertRegex(seen, r"VQ3D-AEQ Bypass Gain +-30 +-3.0 dB ")
        self.assertRegex(seen, r"\ncomplete .*orvctl\n")
        self.assertIn("\n.TH ORVCTL 1", seen)
        self.assertIn("\n0: VQ3D-AEQ Bypass Gain -30, default -30, -600 to 0\n", seen)
        self.assertTrue(seen.endswith("nothing is left\n"), seen)


class WindowsInstaller(Package):
    UNINSTALL = r"Software\Microsoft\Windows\CurrentVersion\Uninstall\ORV APO Controller"
    SYSTEM_CLASS = r"Software\Classes\CLSID\{34296A83-D4A8-442A-A7F8-C874E6B9197D}"
    MACHINE_ENVIRONMENT = r"HKLM\System\CurrentControlSet\Control\Session Manager\Environment"
    # What Wine writes at any time, and the values of the endpoints, which are not the installation's.
    OTHERS = re.compile(r"\\(MMDevices|NetworkCards|Wine|Software\\ORV Labs)\b", re.IGNORECASE)
    # Longer than a text of the installer's, with a variable.
    USER_PATH = r"%USERPROFILE%\tools;" + ";".join(rf"C:\Tools\{number:04}" for number in range(200))

    @staticmethod
    def build():
        return options.windows

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        old = os.path.join(cls.folder, "old")
        os.makedirs(os.path.join(old, "files"))
        with open(os.path.join(old, "files", "of the old version.txt"), "w", encoding="utf-8"):
            pass
        cls.old_package = pack(cls.build(), old, "-D", "CPACK_PACKAGE_VERSION=3.4.0.0", "-D", "CPACK_NSIS_COMPRESSOR=zlib",
                               "-D", f"CPACK_INSTALLED_DIRECTORIES={old}/files;share")
        cls.prefix = os.path.join(cls.folder, "wine")
        cls.wine = [os.path.join(ROOT, "scripts", "wine-run"), "--prefix", cls.prefix]
        cls.drive = os.path.join(cls.prefix, "drive_c")
        cls.addClassCleanup(run, *cls.wine, "--stop")
        # With it, Wine lists its audio devices.
        cls.call(os.path.join(cls.build(), "bin", "orvctl.exe"), "doctor")
        cls.call("reg", "add", r"HKCU\Environment", "/v", "Path", "/t", "REG_EXPAND_SZ", "/d", cls.USER_PATH, "/f")
        for key in (r"Classes\CLSID", r"Microsoft\Windows\CurrentVersion\Uninstall"):  # every user of Windows has them
            cls.call("reg", "add", rf"HKCU\Software\{key}", "/f")
        cls.before = cls.state()

    @classmethod
    def call(cls, *command):
        """Exit status and output of a program."""
        with tempfile.TemporaryFile() as output:  # what Wine leaves running may hold a pipe open
            result = subprocess.run([*cls.wine, *command], stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT,
                                    timeout=DEADLINE)
            output.seek(0)
            return result.returncode, output.read().decode("utf-8", "replace").replace("\r\n", "\n")

    @classmethod
    def state(cls):
        """The keys of the registry, each with its text, and the files of drive C: without those of the user's folders."""
        found = {}
        exported = os.path.join(cls.folder, "exported.reg")
        for key in (r"HKLM\Software", cls.MACHINE_ENVIRONMENT, "HKCU"):
            cls.call("reg", "export", key, "Z:" + exported.replace("/", "\\"), "/y")
            with open(exported, encoding="utf-16") as file:
                for text in file.read().split("\n\n["):
                    name, _, values = text.partition("]")
                    if not cls.OTHERS.search(name):
                        found[name] = values.strip()
        for folder, _, files in os.walk(cls.drive):
            if "users" not in folder:
                found.update((os.path.join(folder, name), "") for name in [*files, ""])
        return found

    def difference(self):
        after = self.state()
        return {key: (self.before.get(key), after.get(key)) for key in self.before.keys() | after.keys()
                if self.before.get(key) != after.get(key)}

    def value(self, key, name):
        status, text = self.call("reg", "query", key, "/v", name)
        return re.search(r"REG_\w+ +(.*)", text).group(1) if status == 0 else None

    def install(self, package, *switches):
        return self.call(package, "/S", *switches)[0]

    def remove(self, root):
        """As the list of installed programs does it; the uninstaller goes on after the program that was started."""
        command = self.value(rf"{root}\{self.UNINSTALL}", "QuietUninstallString")
        program, *switches = re.match(r'"(.*)" (\S+) (\S+)$', command).groups()
        self.assertEqual(self.call(program, *switches)[0], 0)
        installed = os.path.join(self.drive, *program.split("\\")[1:-1])
        end = time.monotonic() + DEADLINE
        while os.path.exists(installed) and time.monotonic() < end:
            time.sleep(0.1)

    def orvctl(self, *arguments):
        """Found by the path, from another folder."""
        return self.call("cmd", "/c", "orvctl", *arguments)

    def test_the_same_build_gives_the_same_bytes(self):
        self.expect_same_bytes_elsewhere_and_later()

    def test_machine_installation_is_upgraded_repaired_and_removed(self):
        version_key = rf"HKLM\{self.UNINSTALL}"
        folder = os.path.join(self.drive, "ORV of mine")
        component = os.path.join(folder, "bin", "orv_apo_controller.dll")
        old_file = os.path.join(folder, "share", "of the old version.txt")
        # Words of one switch: a quoted folder is not one.
        self.assertEqual(self.install(self.old_package, "/Sample", r"/D=C:\ORV", "of", "mine"), 0)
        self.assertTrue(os.path.exists(old_file))
        self.assertIn("-3.0 dB", self.orvctl("controls", "0", "--mode", "Movie/Internal")[1])

        # While a client uses the component, nothing changes.
        with subprocess.Popen([*self.wine, os.path.join(folder, "bin", "orvctl.exe"), "--json", "watch", "0"],
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT) as watch:
            watch.stdout.readline()
            used = self.state()
            self.assertEqual(self.install(self.package), 2)
            self.assertEqual(self.state(), used)
            watch.terminate()

        self.assertEqual(self.install(self.package), 0)
        self.assertEqual(self.value(version_key, "DisplayVersion"), self.orvctl("--version")[1].split()[-1])
        self.assertFalse(os.path.exists(old_file))
        installed = self.state()

        os.remove(component)
        self.call("reg", "delete", rf"HKLM\{self.SYSTEM_CLASS}", "/f")
        self.assertEqual(self.install(self.package), 0)
        self.assertEqual(self.state(), installed)
        self.assertEqual(self.orvctl("set", "0", "VQ3D-DPHD Level", "33", "--mode", "Movie/Internal")[0], 0)
        # Through the class that is registered; Wine's endpoint has no effect registered.
        checks = {check["check"]: check["ok"] for check in json.loads(self.orvctl("--json", "doctor")[1])}
        self.assertEqual({name for name, ok in checks.items() if not ok}, {"effect registration"})
        self.assertIn("component", checks)

        self.remove("HKLM")
        self.assertEqual(self.difference(), {})

    def test_user_installation_leaves_the_machine_alone(self):
        self.assertEqual(self.install(self.package, "/CurrentUser"), 0)
        folder = self.value(rf"HKCU\{self.UNINSTALL}", "InstallLocation")
        self.assertEqual(self.value(rf"HKCU\{self.SYSTEM_CLASS}\InprocServer32", "ThreadingModel"), "Both")
        self.assertEqual(self.value(r"HKCU\Environment", "Path"), self.USER_PATH + f";{folder}\\bin")
        # Wine registers a user's type library for the machine.
        self.assertEqual([key for key in self.difference() if "HKEY_LOCAL_MACHINE" in key and "typelib" not in key.lower()], [])
        self.remove("HKCU")
        self.assertEqual(self.difference(), {})


def main():
    global options
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--windows", required=True, type=os.path.abspath)
    parser.add_argument("--native", required=True, type=os.path.abspath)
    options, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], *rest], verbosity=2)


if __name__ == "__main__":
    main()
