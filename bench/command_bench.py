#!/usr/bin/env python3
"""Times commands of orvctl as whole processes, in turn with `orvctl --help`, and prints a Markdown table.

  command_bench.py [--runs N] ORVCTL [EARLIER]

The figures are medians of user and system time. With the orvctl of an EARLIER build, its runs alternate with the others.
"""
import argparse
import os
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile

MODES = CONTROLS = 300


def milliseconds(command):
    null = os.open(os.devnull, os.O_RDWR)
    redirections = [(os.POSIX_SPAWN_DUP2, null, stream) for stream in (0, 1, 2)]
    _, status, usage = os.wait4(os.posix_spawn(command[0], command, os.environ, file_actions=redirections), 0)
    os.close(null)
    if os.waitstatus_to_exitcode(status) not in (0, 3):
        sys.exit(f"{command} ended with status {os.waitstatus_to_exitcode(status)}")
    return 1000 * (usage.ru_utime + usage.ru_stime)


def enlarge(machine):
    """Gives the laptop many modes, each its first one with more controls."""
    file = machine / "drive_c/Program Files/ORV Labs/APO/orv_apo_config.xml"
    head, mode = re.search(r"(.*?)(<operating_mode>.*?</operating_mode>)", file.read_text(), re.S).groups()
    more = CONTROLS - mode.count('public="true"')
    filling = "".join(f'<control name="VQ3D-Setting {n}" public="true">{n}</control>\n' for n in range(more))
    mode = mode.replace("<chain_v2", filling + "<chain_v2", 1)
    modes = (mode.replace(">Music<", f">Movie{n or ''}<", 1) for n in range(MODES))  # "Movie" is the current one
    file.write_text(head + "\n".join(modes) + "\n</orv_configuration>\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--runs", type=int, default=15)
    parser.add_argument("programs", nargs="+", metavar="ORVCTL", type=os.path.abspath)
    arguments = parser.parse_args()
    program = arguments.programs[0]
    with tempfile.TemporaryDirectory() as folder:
        small, large, preset = (pathlib.Path(folder) / name for name in ("sample", "large", "preset.json"))
        for machine in (small, large):
            subprocess.run([program, "machine", "new", machine], check=True, stdout=subprocess.DEVNULL)
        enlarge(large)
        subprocess.run([program, "--machine", large, "save", "0", preset], check=True, stdout=subprocess.DEVNULL)
        value = [0]

        def new_value():
            value[0] = 1 - value[0]
            return f"{value[0] - 10}dB"

        gain = "VQ3D-PEQ Left Band 1 Gain"
        rows = [("--help", None, lambda: ["--help"], 1)]
        rows += [(f"{words[0]}, sample machine", small, lambda words=words: words, 1)
                 for words in (["modes", "0"], ["get", "0", gain], ["controls", "0"])]
        rows += [("set, sample machine", small, lambda: ["set", "0", gain, new_value()], 1)]
        rows += [(f"{name}, {MODES} modes of {CONTROLS} controls", large, lambda words=words: words, 5)
                 for name, words in (("get", ["get", "0", gain]), ("drift", ["drift", "0"]),
                                     ("load --dry-run without changes", ["load", "0", str(preset), "--dry-run"]),
                                     ("load without changes", ["load", "0", str(preset)]))]
        print("| command | " + " | ".join(f"{title}, ms | / --help" for title in ("measured", "earlier build")[:len(arguments.programs)])
              + " |\n|---|" + "---|" * 2 * len(arguments.programs))
        base = {}
        for name, machine, words, share in rows:
            times = {program: [] for program in arguments.programs}
            for _ in range(1 + max(1, arguments.runs // share)):
                for program in arguments.programs:
                    options = [] if machine is None else ["--machine", str(machine)]
                    times[program].append(milliseconds([program] + options + words()))
            medians = [statistics.median(times[program][1:]) for program in arguments.programs]
            base = base or medians
            print(f"| {name} | " + " | ".join(f"{m:.1f} | {m / b:.1f}" for m, b in zip(medians, base)) + " |", flush=True)


main()
