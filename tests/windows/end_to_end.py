#!/usr/bin/env python3
"""The installed Windows build at work under Wine, from registration to changed values, beside the native build on a machine.

  end_to_end.py --windows BUILD --native BUILD [--prefix FOLDER]
"""
import argparse
import http.client
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(1, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "package"))
import client_test  # noqa: E402

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
SAMPLE = os.path.join(ROOT, "samples", "machines", "skylake-laptop")
CONFIGURATION = os.path.join("Program Files", "ORV Labs", "APO", "orv_apo_config.xml")
MACHINE = "HKEY_LOCAL_MACHINE\\"
MAKER_KEY = MACHINE + r"Software\ORV Labs"
MACHINE_CLASSES = MACHINE + r"Software\Classes"
USER_CLASSES = r"HKEY_CURRENT_USER\Software\Classes"
DEADLINE = 120  # seconds for any one program

options = None


def export_text(path):
    with open(path, "rb") as file:
        data = file.read()
    return data.decode("utf-16" if data[:2] == b"\xff\xfe" else "utf-8-sig")


def registry_values(path):
    """Values of an exported registry: {key: {name: written value}}, names of keys without regard to letter case."""
    text = export_text(path)
    text = re.sub(r"\\\r?\n\s*", "", text)
    keys, current = {}, None
    for line in text.splitlines():
        if line.startswith("["):
            current = keys.setdefault(line[1:-1].lower(), {})
        elif current is not None and line.startswith(('"', '@')):
            name, value = re.match(r'("(?:[^"\\]|\\.)*"|@)=(.*)', line).groups()
            current[name.strip('"')] = value.strip()
    return keys


def windows_path(path):
    return "Z:" + path.replace("/", "\\")


def changes(before, after):
    """The keys in which two states of the registry differ, with their values in each; None for a key that is not there."""
    return {key: (before.get(key), after.get(key)) for key in before.keys() | after.keys()
            if before.get(key) != after.get(key)}


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
        found = registry.get((MACHINE + self.apo_key).lower(), {})
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
        self.registry = os.path.join(self.machine, "registry.reg")
        self.apo_key = next(row for row in self.orvctl("endpoints") if self.endpoint in row["name"])["registry_path"]

    def command(self, program):
        return [program]

    def values(self):
        return self.stored(registry_values(self.registry))


class Windows(System):
    endpoint = ""  # there is but one

    def __init__(self, folder):
        self.environment = dict(os.environ)
        self.exported = os.path.join(folder, "exported.reg")
        self.program = os.path.join(options.installed, "bin", "orvctl.exe")
        self.component = windows_path(os.path.join(options.installed, "bin", "orv_apo_controller.dll"))
        self.call("cmd", "/c", "exit")  # makes the prefix
        self.drive = os.path.join(options.prefix, "drive_c")
        configuration = os.path.join(self.drive, CONFIGURATION)
        os.makedirs(os.path.dirname(configuration), exist_ok=True)
        shutil.copy(os.path.join(SAMPLE, "drive_c", CONFIGURATION), configuration)
        shutil.copy(os.path.join(options.installed, "bin", "kxtech64.dll"), os.path.join(self.drive, "windows", "system32"))
        self.call("reg", "delete", MAKER_KEY, "/f")

    def command(self, program):
        return [os.path.join(ROOT, "scripts", "wine-run"), "--prefix", options.prefix, program]

    def done(self, program, *arguments):
        status, output, errors = self.call(program, *arguments)
        if status != 0:
            raise AssertionError(f"{program} {' '.join(arguments)}: {status}\n{output}{errors}")

    def register(self, *arguments):
        self.done("regsvr32", "/s", *arguments, self.component)

    def export(self, key):
        self.done("reg", "export", key, windows_path(self.exported), "/y")
        return registry_values(self.exported)

    def values(self):
        return self.stored(self.export(MAKER_KEY))

    def classes(self):
        """All classes and type libraries that are registered, for the machine and for the user."""
        places = (MACHINE_CLASSES + r"\CLSID", MACHINE_CLASSES + r"\TypeLib", USER_CLASSES)
        return {key: values for place in places for key, values in self.export(place).items()}


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
        cls.rows = cls.windows.orvctl("endpoints")
        cls.windows.apo_key = cls.rows[0]["registry_path"]

    def both(self, *arguments):
        """The same command on both; `E` is replaced by the endpoint. Answers and stored bytes are the same."""
        answers = []
        for system in (self.native, self.windows):
            endpoint = system.endpoint or "0"
            answers.append(system.orvctl(*(endpoint if word == "E" else word for word in arguments)))
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

    def test_orvctl_registers_what_the_platforms_tool_registers(self):
        self.addCleanup(self.windows.register)
        self.windows.register("/u")
        self.windows.done("reg", "add", USER_CLASSES + r"\CLSID", "/f")  # can be exported, and is not registration's own
        bare = self.windows.classes()
        for tool, option, place, name in (((), (), MACHINE_CLASSES, "HKEY_CLASSES_ROOT"),
                                          (("/n", "/i:user"), ("--user",), USER_CLASSES, USER_CLASSES)):
            with self.subTest(option):
                self.windows.register(*tool)
                registered = changes(bare, self.windows.classes())
                self.windows.register("/u", *tool)
                keys = self.windows.orvctl("register", *option)["keys"]
                self.assertEqual(changes(bare, self.windows.classes()), registered)
                self.assertEqual({key.lower().replace(name.lower(), place.lower()) for key in keys},
                                 {key for key in registered if key.startswith(place.lower())})
                self.assertGreater(len(keys), 11)
                self.assertEqual(self.windows.orvctl("unregister", *option)["keys"], keys)
                self.assertEqual(changes(bare, self.windows.classes()), {})

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

    def test_serve_answers_and_reports_changes(self):
        command = [*self.windows.command(self.windows.program), "--json", "serve"]
        with subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                              env=self.windows.environment) as serve:
            try:
                host, key = re.match(r"http://(.*)/\?key=(.*)", json.loads(serve.stdout.readline())["address"]).groups()
                self.assertEqual(len(key), 64)

                def ask(method, path, body=None, **headers):
                    connection = http.client.HTTPConnection(host, timeout=DEADLINE)
                    self.addCleanup(connection.close)
                    connection.request(method, path, body and json.dumps(body), {
                        "Authorization": f"Bearer {key}", "X-Orvctl": "1", "Content-Type": "application/json", **headers})
                    return connection.getresponse()

                self.assertEqual(ask("GET", "/", Authorization="Bearer none").status, 401)
                self.assertIn(b"<html", ask("GET", "/").read())
                self.assertEqual(json.load(ask("GET", "/api/endpoints")), self.windows.orvctl("endpoints"))
                events = ask("GET", "/api/events")
                self.assertEqual(events.readline(), b"event: hello\n")
                client = json.loads(events.readline().removeprefix(b"data: "))["client"]
                path = "/api/endpoints/0/controls?mode=Game/Internal"
                for value in (21, 22):
                    answer = ask("PUT", path, {"VQ3D-DPHD Level": value}, **{"X-Orvctl-Client": client})
                    self.assertEqual(json.load(answer)[0]["value"], value)
                self.windows.orvctl("set", "0", "VQ3D-DPHD Level", "23", "--mode", "Game/Internal")
                seen = []
                while not seen or seen[-1][0] != 23:
                    line = events.readline()
                    if line.startswith(b"data: "):
                        change = json.loads(line.removeprefix(b"data: "))
                        seen.append((change["to"], change["origin"]))
                self.assertEqual(seen[-2:], [(22, client), (23, "other")])
            finally:
                serve.terminate()

    def test_outside_client_works_in_both_apartments_beside_another_program(self):
        client = os.path.join(options.windows, "package", "outside", "build", "client.exe")
        for apartment in ("mta", "sta"):
            status, output, _ = self.windows.call(client, apartment)
            self.assertEqual(status, 0, output)
            self.assertRegex(output, r"0: VQ3D-AEQ Bypass Gain -?\d+, default -?\d+, -600 to 0\n")

        def start(*arguments):
            return subprocess.Popen([*self.windows.command(client), *arguments], stdin=subprocess.DEVNULL,
                                    stdout=subprocess.PIPE, text=True, env=self.windows.environment)
        # This platform has no loopback streams.
        self.assertEqual(client_test.use(self, start, self.windows.orvctl), (1, "0x88890003"))
        self.windows.register("/u")
        try:
            status, output, _ = self.windows.call(client, "mta")
            self.assertEqual((status, output.strip()), (1, "0x80040154"))
            status, output, _ = self.windows.call(self.windows.program, "--json", "doctor")
            remedies = [check["remedy"] for check in json.loads(output) if check["check"] == "component"]
            self.assertEqual(status, 3)
            self.assertIn("orvctl register", remedies[0])
        finally:
            self.windows.register()


def main():
    global options
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--windows", required=True, type=os.path.abspath)
    parser.add_argument("--native", required=True, type=os.path.abspath)
    parser.add_argument("--prefix", type=os.path.abspath)
    options, rest = parser.parse_known_args()
    options.installed = os.path.join(options.windows, "package", "outside", "moved")  # by the test of the package
    for needed, remedy in ((os.path.join(options.native, "bin", "orvctl"), "build it"),
                           (os.path.join(options.installed, "bin", "orvctl.exe"), "run the test \"package\"")):
        if not os.path.exists(needed):
            parser.error(f"{needed} is missing; {remedy} first")
    options.prefix = options.prefix or os.path.join(options.windows, "wine")
    unittest.main(argv=[sys.argv[0], *rest], verbosity=2)


if __name__ == "__main__":
    main()
