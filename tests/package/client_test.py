#!/usr/bin/env python3
"""The outside client at work beside another program.

  client_test.py CLIENT ORVCTL MACHINE   natively, on a copy of this simulated machine
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

CONTROL = "VQ3D-DC Level"


def use(test, start, other, control_name=CONTROL):
    """`start` starts the client with arguments and returns its process; `other` runs orvctl. Returns what `levels` prints."""
    def lines(process, count):
        rows = {}
        for _ in range(count):
            number, name, *values = re.fullmatch(
                r"(\d+): (.+) (-?\d+), default (-?\d+), (-?\d+) to (-?\d+)", process.stdout.readline().strip()).groups()
            rows[name] = (number, *map(int, values))
        return rows

    def client(*arguments):
        with start(*arguments) as process:
            output = process.stdout.read()
            return process.wait(), output.replace("\r\n", "\n").strip()

    status, output = client()
    test.assertEqual(status, 0, output)
    count = output.count("\n") + 1

    def control():
        with start() as process:
            return lines(process, count)[control_name]

    number, _, default, minimum, maximum = control()
    test.assertEqual((minimum, maximum), (0, 100))
    test.assertEqual(client("set", number, "33")[0], 0)
    for row, value in ((number, "101"), (number, "-1"), (number, "high"), ("x" + number, "50")):
        test.assertEqual(client("set", row, value), (1, "0x80070057"))
    test.assertEqual(control(), (number, 33, default, 0, 100))
    with start("follow", "1") as follower:
        test.assertEqual(lines(follower, count)[control_name][1], 33)
        other("set", "0", control_name, "44")
        test.assertEqual(lines(follower, count)[control_name][1:3], (44, default))
        test.assertEqual(follower.wait(), 0)
    test.assertEqual(client("reset")[0], 0)
    test.assertEqual(control()[1:3], (default, default))
    return client("levels")


class NativeClient(unittest.TestCase):
    def test_lists_changes_follows_resets_and_shows_levels(self):
        program, orvctl, machine = sys.argv[1:]
        with tempfile.TemporaryDirectory() as folder:
            copy = os.path.join(folder, "machine")
            shutil.copytree(machine, copy)
            environment = dict(os.environ, ORV_MACHINE=copy)
            name = "VQ3D-\u00e9 Level"
            for file in (*pathlib.Path(copy).rglob("*.xml"), *pathlib.Path(copy).rglob("*.dll"),
                         pathlib.Path(orvctl).parents[1] / "lib/orv_apo/kxtech64.dll"):
                content = file.read_bytes()
                self.addCleanup(lambda file=file, content=content: file.exists() and file.write_bytes(content))
                file.write_bytes(content.replace(CONTROL.encode(), name.encode()))  # as long

            def start(*arguments):
                return subprocess.Popen([program, *arguments], env=environment, stdout=subprocess.PIPE, encoding="utf-8")

            def other(*arguments):
                subprocess.run([orvctl, *arguments], env=environment, stdout=subprocess.DEVNULL, check=True)

            status, levels = use(self, start, other, name)
            self.assertEqual(status, 0)
            self.assertRegex(levels.split("\n")[-1], r"^left -\d+\.\d -\d+\.\d -\d+\.\d, peaks -\d+\.\d -\d+\.\d$")
            other("set", "0", name, "45")
            description = pathlib.Path(copy, "machine.json")
            refusal = '"faults": [{"operation": "registry.set_value", "nth": "always", "status": 5}], "events"'
            description.write_text(description.read_text().replace('"events"', refusal))
            with start("reset") as process:  # which the component reports as done
                self.assertEqual(process.stdout.read(), "0x80004005\n")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
