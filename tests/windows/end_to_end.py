#!/usr/bin/env python3
"""The Windows build at work under Wine, from registration to changed values, beside the native build on a sample machine.

  end_to_end.py --windows BUILD --native BUILD [--prefix FOLDER]
"""
import argparse
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
SAMPLE = os.path.join(ROOT, "samples", "machines", "skylake-laptop")
CONFIGURATION = os.path.join("Program Files", "ORV Labs", "APO", "orv_apo_config.xml")
APO_KEY = r"HKEY_LOCAL_MACHINE\Software\ORV Labs"
DEADLINE = 120  # seconds for any one program

options = None


def registry_values(path):
    """Values of an exported registry: {key: {name: written value}}, names of keys without regard to letter case."""
    with open(path, "rb") as file:
        data = file.read()
    text = data.decode("utf-16" if data[:2] == b"\xff\xfe" else "utf-8-sig")
    text = re.sub(r"\\\r?\n\s*", "", text)
    keys, current = {}, None
    for line in text.splitlines():
        if line.startswith("["):
            current = keys.setdefault(line[1:-1].lower(), {})
        elif current is not None and line.startswith(('"', '@')):
            name, value = re.match(r'("(?:[^"\\]|\\.)*"|@)=(.*)', line).groups()
            current[name.strip('"')] = value.strip()
    return keys


class System:
    """One of the two builds: its orvctl and what is stored for one endpoint."""

    def call(self, program, *arguments):
        # Into files: what Wine leaves running may hold a pipe open.
        with tempfile.TemporaryFile() as output, tempfile.TemporaryFile() as errors:
            result = subprocess.run([*self.command(program), *arguments], stdin=subprocess.DEVNULL, stdout=output,
                                    stderr=errors, env=self.environment, timeout=DEADLINE)
            output.seek(0)
            errors.seek(0)
            return (result.returncode, output.read().decode("utf-8", "replace").replace("\r\n", "\n"),
                    errors.read().decode("utf-8", "replace"))

    def orvctl(self, *arguments):
        status, output, errors = self.call(self.program, "--json", *arguments)
        if status != 0:
            raise AssertionError(f"orvctl {' '.join(arguments)}: {status}\n{output}{errors}")
        return json.loads(output) if output.strip() else None

    def stored(self, registry):
        found = {}
        for key, values in registry.items():
            if key.startswith(APO_KEY.lower()) and key.endswith(self.endpoint_key):
                found.update(values)
        # The system directory is spelled as the platform spells it.
        return {name: value.lower() if name == "OrvApoTechDllPath" else value for name, value in found.items()}


class Native(System):
    endpoint = "Headphones"

    def __init__(self, folder):
        self.machine = os.path.join(folder, "machine")
        shutil.copytree(SAMPLE, self.machine)
        system_directory = os.path.join(self.machine, "drive_c", "Windows", "System32")
        os.makedirs(system_directory)
        shutil.copy(os.path.join(options.native, "samples", "technology", "kxtech64.dll"), system_directory)
        self.environment = dict(os.environ, ORV_MACHINE=self.machine)
        self.program = os.path.join(options.native, "bin", "orvctl")
        ids = [row["id"] for row in self.orvctl("endpoints") if self.endpoint in row["name"]]
        self.endpoint_key = ids[0].split(".")[-1].lower()

    def command(self, program):
        return [program]

    def values(self):
        return self.stored(registry_values(os.path.join(self.machine, "registry.reg")))


class Windows(System):
    endpoint = "0"

    def __init__(self, folder):
        self.environment = dict(os.environ)
        self.exported = os.path.join(folder, "exported.reg")
        self.program = os.path.join(options.windows, "bin", "orvctl.exe")
        self.component = "Z:" + os.path.join(options.windows, "bin", "orv_apo_controller.dll").replace("/", "\\")
        self.call("cmd", "/c", "exit")  # makes the prefix
        drive = os.path.join(options.prefix, "drive_c")
        configuration = os.path.join(drive, CONFIGURATION)
        os.makedirs(os.path.dirname(configuration), exist_ok=True)
        shutil.copy(os.path.join(SAMPLE, "drive_c", CONFIGURATION), configuration)
        shutil.copy(os.path.join(options.windows, "samples", "technology", "kxtech64.dll"),
                    os.path.join(drive, "windows", "system32"))
        self.call("reg", "delete", APO_KEY, "/f")
        self.endpoint_key = None

    def command(self, program):
        return [os.path.join(ROOT, "scripts", "wine-run"), "--prefix", options.prefix, program]

    def register(self, *arguments):
        status, output, errors = self.call("regsvr32", "/s", *arguments, self.component)
        if status != 0:
            raise AssertionError(f"regsvr32 {' '.join(arguments)}: {status}\n{output}{errors}")

    def find_endpoint(self):
        rows = self.orvctl("endpoints")
        self.endpoint_key = rows[0]["id"].split(".")[-1].lower()
        return rows

    def values(self):
        status, _, errors = self.call("reg", "export", APO_KEY, "Z:" + self.exported.replace("/", "\\"), "/y")
        if status != 0:
            raise AssertionError(f"reg export: {status}\n{errors}")
        return self.stored(registry_values(self.exported))


class EndToEnd(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.native = Native(cls.folder.name)
        cls.windows = Windows(cls.folder.name)
        cls.windows.register()
        cls.addClassCleanup(cls.windows.register, "/u")
        cls.rows = cls.windows.find_endpoint()

    def both(self, *arguments):
        """The same command on both; `E` stands for the endpoint. Answers and stored bytes are the same."""
        answers = []
        for system in (self.native, self.windows):
            answers.append(system.orvctl(*(system.endpoint if word == "E" else word for word in arguments)))
        self.assertEqual(answers[0], answers[1], arguments)
        ours, theirs = self.native.values(), self.windows.values()
        self.assertEqual(ours, theirs, arguments)
        return answers[1], theirs

    def test_default_device_is_listed_with_its_configuration(self):
        self.assertEqual(len(self.rows), 1)
        self.assertEqual(self.rows[0]["config_file"].lower(), ("C:\\" + CONFIGURATION.replace("/", "\\")).lower())
        self.assertRegex(self.rows[0]["id"], r"^\{0\.0\.0\.00000000\}\.\{[-0-9a-fA-F]{36}\}$")

    def test_changes_store_the_bytes_of_the_native_build(self):
        movie = ("--mode", "Movie/Internal")
        self.both("modes", "E")
        self.both("properties", "E")
        controls, _ = self.both("controls", "E", *movie)
        self.assertGreater(len(controls), 20)
        self.both("mode", "E", "Movie/Internal")
        self.both("set", "E", "VQ3D-DPHD Level", "33", *movie)
        _, stored = self.both("set", "E", "VQ3D-Main Tech", "VQ3D-AMHD", *movie)
        self.assertIn("ApoOpMode:Movie/Internal", stored)
        _, stored = self.both("enable", "E", "off")
        self.assertIn("OrvApoGlobal", stored)
        self.both("restore", "E", "--mode", "Voice/Internal")
        _, stored = self.both("mode", "E", "--default")
        self.assertEqual(set(stored), {"ApoOpMode:Movie/Internal", "ApoOpMode:Voice/Internal", "OrvApoCurrOpMode",
                                       "OrvApoGlobal", "OrvApoTechDllPath"})

    def test_watch_sees_another_process(self):
        self.windows.orvctl("set", "0", "VQ3D-DPHD Level", "1", "--mode", "Game/Internal")
        command = [*self.windows.command(self.windows.program), "--json", "watch", "0", "--count", "1", "--for",
                   str(DEADLINE)]
        with subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              env=self.windows.environment) as watch:
            self.assertIn(b"Watching", watch.stdout.readline())
            self.windows.orvctl("set", "0", "VQ3D-DPHD Level", "77", "--mode", "Game/Internal")
            change = json.loads(watch.stdout.readline())
            self.assertEqual(watch.wait(DEADLINE), 0)
        self.assertEqual((change["mode"], change["name"], change["from"], change["to"]),
                         ("ApoOpMode:Game/Internal", "VQ3D-DPHD Level", 1, 77))

    def test_outside_client_works_in_both_apartments(self):
        client = os.path.join(options.windows, "package", "outside", "build", "client.exe")
        for apartment in ("mta", "sta"):
            status, output, _ = self.windows.call(client, apartment)
            self.assertEqual(status, 0, output)
            self.assertIn("\n  ApoOpMode:Movie/Internal\n", output)
        self.windows.register("/u")
        try:
            status, output, _ = self.windows.call(client, "mta")
            self.assertEqual((status, output.strip()), (1, "0x80040154"))
        finally:
            self.windows.register()


def main():
    global options
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--windows", required=True, type=os.path.abspath)
    parser.add_argument("--native", required=True, type=os.path.abspath)
    parser.add_argument("--prefix", type=os.path.abspath)
    options, rest = parser.parse_known_args()
    for needed in (os.path.join(options.native, "bin", "orvctl"), os.path.join(options.windows, "bin", "orvctl.exe")):
        if not os.path.exists(needed):
            parser.error(f"{needed} is missing; build it first")
    options.prefix = options.prefix or os.path.join(options.windows, "wine")
    unittest.main(argv=[sys.argv[0], *rest], verbosity=2)


if __name__ == "__main__":
    main()
