#!/usr/bin/env python3
"""Writes the configuration files of the sample machines.

suites/*.txt list every control of a suite with its ordinary value; the tables below list what each
operating mode changes. Run from anywhere after a change, and check the files in.
"""

import pathlib
from dataclasses import dataclass, field
from xml.sax.saxutils import escape, quoteattr

HERE = pathlib.Path(__file__).resolve().parent
FREQUENCIES = [60, 120, 200, 350, 500, 800, 1200, 2000, 3200, 5000, 8000, 12000]
QUALITIES = [80, 120, 140, 200, 160, 140, 120, 200, 250, 180, 140, 80]

# Gains in tenths of a decibel, spread over the frequencies, by mode or by speaker type.
CURVES = {"Internal": [0, 15, 30, -20, -35, 0, 10, -25, 40, 20, -15, 25],
          "Voice": [-60, -40, -10, 0, 10, 25, 30, 40, 30, 10, -20, -40],
          "Headphones": [25, 15, 0, -10], "HDMI": [0, 0], "Bring-up": []}


@dataclass
class Suite:
    thinning: int  # every so manieth gain of the long curves is a band
    stream: list  # processes of each place in the chain
    headphone_stream: list
    mix: list
    output: list
    changes: dict  # by mode or speaker type: control without the suite's prefix, value


@dataclass
class Mode:
    mode: str
    speaker: str
    selector: str = ""
    changes: dict = None  # in place of the suite's; a value of None leaves the control out
    extra: dict = field(default_factory=dict)  # private controls of this mode only


def modes(speaker, names, selector=""):
    return [Mode(name, speaker, selector) for name in names.split()]


def curve_of(name, mode):
    curve = CURVES.get(mode.mode, CURVES[mode.speaker])
    if len(curve) == len(FREQUENCIES):
        return curve[::SUITES[name].thinning]
    return curve * 2 if mode.speaker == "HDMI" and name == "qumedia" else curve


def suite_rows(name):
    """(heading, None, None) or (control, value, public) for every line of a suite's file."""
    rows = []
    for line in (HERE / "suites" / f"{name}.txt").read_text().splitlines():
        if line.startswith("#"):
            rows.append((line[1:].strip(), None, None))
        elif line:
            setting, _, mark = line.partition(" : ")
            control, _, value = setting.partition(" = ")
            rows.append((control, value, mark != "private"))
    return rows


def band_rows(name, curve):
    prefix = name.upper()
    step = len(FREQUENCIES) // max(len(curve), 1)  # a short curve spans the whole range too
    for channel in ("Left", "Right"):
        for k, gain in enumerate(curve):
            stem = f"{prefix}-PEQ {channel} Band {k} "
            # The right loudspeaker is nearer to the keyboard: a little less of everything.
            level = gain - 5 if channel == "Right" and gain > 20 else gain
            yield stem + "Enable", "Enabled" if level else "Disabled"
            yield stem + "Frequency", FREQUENCIES[k * step]
            yield stem + "Q Factor", QUALITIES[k * step]
            yield stem + "Gain", round(level / 10) if name == "qumedia" else level
            if name != "qumedia":
                shape = {0: "Low Shelf", len(curve) - 1: "High Shelf"}.get(k, "Traditional")
                yield stem + "Type", f"{prefix}-{shape}"


def mode_controls(name, mode):
    """Lines of the mode's controls: the key, then the suite with the mode's changes."""
    of_suite = SUITES[name].changes
    changes = mode.changes
    if changes is None:
        changes = of_suite.get(mode.mode, {}) | of_suite.get(mode.speaker, {})
    changes = {f"{name.upper()}-{control}": value for control, value in changes.items()}
    lines = [control_line("ZAPO3-Operating Mode", mode.mode),
             control_line("ZAPO3-Speaker Type", mode.speaker)]
    for control, value, public in suite_rows(name):
        if value is None:
            lines.append(f"<!-- {control} -->")
            continue
        value = changes.pop(control, value)
        if value is not None:
            lines.append(control_line(control, value, public))
    lines += [control_line(*row, public=True) for row in band_rows(name, curve_of(name, mode))]
    if mode.extra:
        lines.append("<!-- This mode only -->")
        lines += [control_line(*row) for row in mode.extra.items()]
    if changes:
        raise SystemExit(f"{mode.mode} for {mode.speaker}: unknown controls {sorted(changes)}")
    return lines


def control_line(control, value, public=False):
    mark = ' public="true"' if public else ""
    return f"<control name={quoteattr(control)}{mark}>{escape(str(value))}</control>"


def chain(processes, controls=(), element="chain_v2", **attributes):
    lines = [f"<{element}" + "".join(f' {k}="{v}"' for k, v in attributes.items()) + ">"]
    for hook, technology in enumerate(processes):
        lines.append(f'  <process tech_id="{technology}" instance_id="{hook}" hook="render"/>')
    return lines + [f"  {control_line(*row)}" for row in controls] + [f"</{element}>"]


def mode_chains(suite, mode):
    if mode.selector:
        return []
    stream = suite.headphone_stream if mode.speaker == "Headphones" else suite.stream
    lines = ["<!-- The whole stack in one place, or divided over three -->"]
    lines += chain(stream + suite.mix + suite.output, element="chain",
                   input="Mono;Stereo;5.1 Surround;7.1 Surround", output="Stereo")
    lines += chain(stream, position="SFX", type="render",
                   input="Stereo,5.1 Surround,7.1 Surround", output="Stereo")
    lines += chain(suite.mix, position="MFX", type="render", input="Stereo", output="Stereo")
    lines += chain(suite.output, position="EFX", output="Stereo")
    if mode.mode == "Voice":
        lines += chain(["ZAPO3-Switches"], [("ZAPO3-Mic Monitor Enable", "Disabled")],
                       position="SFX", type="capture", input="Mono,Stereo", output="Mono")
    return lines


def write(path, name, properties, described):
    product, default, speaker, version, *more = properties
    rows = {"Product Name": product, "ZAPO3-Operating Mode": default,
            "ZAPO3-Speaker Type": speaker, "Configuration Version": version,
            "Support": "Sound settings, page 'Effects'"} | dict(more)
    lines = ['<?xml version="1.0" encoding="utf-8"?>',
             "<!-- Written by write_configurations.py. -->",
             "<orv_configuration>", "  <properties>"]
    lines += [f"    {control_line(*row)}" for row in rows.items()] + ["  </properties>"]
    for mode in described:
        attributes = f' selector="{mode.selector}"' if mode.selector else ""
        attributes += ' auto_mic="true"' if mode.mode == "Voice" else ""
        content = mode_controls(name, mode) + mode_chains(SUITES[name], mode)
        lines += ["", f"  <operating_mode{attributes}>", *(f"    {line}" for line in content),
                  "  </operating_mode>"]
    target = HERE / path
    target.parent.mkdir(parents=True, exist_ok=True)
    target.write_text("\n".join([*lines, "</orv_configuration>", ""]), encoding="utf-8",
                      newline="\n")


SUITES = {
    "vq3d": Suite(
        1, ["VQ3D-Vocalift", "VQ3D-WIDHD"], ["VQ3D-Vocalift", "VQ3D-MXHP"],
        ["VQ3D-EVolHD", "VQ3D-DPHD", "VQ3D-GEQ", "VQ3D-Tone"],
        ["VQ3D-AEQ", "VQ3D-Master Volume", "VQ3D-Hard Limiter"], {
            "Movie": {"DPHD Level": 75, "DC Level": 70, "WIDHD ORV3D Space Level": 80,
                      "EVolHD Level Intensity": 85, "MXHP MX Decoder Mode": "VQ3D-Cinema",
                      "PX3D Surround Boost Enable": "Enabled"},
            "Voice": {"Main Tech": "VQ3D-None", "Vocalift Enable": "Enabled", "DC Level": 90,
                      "DPHD Enable": "Disabled", "EVolHD Level Intensity": -20,
                      "Definition Enable": "Disabled", "HPF Frequency": 250},
            "Game": {"Main Tech": "VQ3D-PX3D", "Ambiwide Level": 75,
                     "DPHD Split Analysis Enable": "Enabled", "DPHD Speaker Audio Size": 220,
                     "DPHD Speaker Analysis Size": 160, "Space HPF Cutoff Freq": 150,
                     "Tone Enable": "Enabled", "Bass Gain": 4, "Treble Gain": 2},
            "Headphones": {"Main Tech": "VQ3D-MXHP", "MXHP MX Decoder Enable": "Enabled",
                           "HPF Enable": "Disabled", "HPF Order": 2, "HPF Frequency": 30,
                           "DPHD Speaker Audio Size": 40, "DPHD Speaker Analysis Size": 40,
                           "GEQ Enable": "Enabled", "GEQ 100Hz Gain": 30, "GEQ 300Hz Gain": -10,
                           "GEQ 3kHz Gain": 15, "GEQ 10kHz Gain": 25,
                           "Hard Limiter Output Gain": -20},
            "HDMI": {"Main Tech": "VQ3D-AMHD", "HPF Enable": "Disabled", "AEQ Enable": "Disabled",
                     "DPHD Enable": "Disabled", "Space HPF Enable": "Disabled"},
        }),
    "zensnd": Suite(
        2, ["ZENSND-AMHD", "ZENSND-WIDHDX"], ["ZENSND-AMHD", "ZENSND-WIDHDX"],
        ["ZENSND-EVolHD", "ZENSND-DPHD"], ["ZENSND-AEQ", "ZENSND-Hard Limiter"], {
            "Movie": {"DPHD Level": 70, "DC Level": 65, "Surround Enable": "Enabled",
                      "AMHD Input Mode": "ZENSND-3_2_1", "EVolHD Level Intensity": 85},
            "Voice": {"WIDHDX ORV3D Mode": "ZENSND-Mono", "DPHD Enable": "Disabled", "DC Level": 95,
                      "EVolHD Level Intensity": -30, "HPF Order": 4, "HPF Frequency": 280},
            "Game": {"Surround Enable": "Enabled", "Surround Level": 80,
                     "DPHD Speaker Audio Size": 270, "DPHD Speaker Analysis Size": 210,
                     "Space HPF Custom Freq": 350},
            "Headphones": {"WIDHDX Headphone Enable": "Enabled",
                           "AMHD Input Mode": "ZENSND-Headphone", "HPF Enable": "Disabled",
                           "HPF Order": 1, "HPF Frequency": 30, "DPHD Speaker Audio Size": 40,
                           "DPHD Speaker Analysis Size": 40, "Hard Limiter Output Gain": -20},
            "HDMI": {"HPF Enable": "Disabled", "AEQ Enable": "Disabled", "DPHD Enable": "Disabled",
                     "Space HPF Enable": "Disabled"},
        }),
    "qumedia": Suite(
        3, ["QUMEDIA-WIDHDX"], ["QUMEDIA-MXHP"], ["QUMEDIA-DPHD"],
        ["QUMEDIA-HPF", "QUMEDIA-PEQ", "QUMEDIA-Hard Limiter"], {
            "Movie": {"DPHD Level": 70, "DC Level": 75, "WIDHDX ORV3D Space Level": 85,
                      "MXHP MX Decoder Mode": "QUMEDIA-Cinema"},
            "Voice": {"Main Tech": "QUMEDIA-None", "WIDHDX ORV3D Mode": "QUMEDIA-Mono",
                      "DPHD Enable": "Disabled", "DC Level": 95, "HPF Frequency": 300},
            "Game": {"WIDHDX ORV3D Mode": "QUMEDIA-Single Speaker",
                     "DPHD Split Analysis Enable": "Enabled", "Hard Limiter Boost Offset": 9},
            "Headphones": {"Main Tech": "QUMEDIA-MXHP", "MXHP MX Decoder Enable": "Enabled",
                           "HPF Enable": "Disabled", "HPF Order": 2, "HPF Frequency": 30,
                           "DPHD Speaker Audio Custom Size": 40,
                           "DPHD Speaker Analysis Custom Size": 40},
            "HDMI": {"Main Tech": "QUMEDIA-None", "HPF Enable": "Disabled",
                     "Link PEQ Enable": "Disabled", "WIDHDX Bypass Gain": -999},
        }),
}

APO = "ProgramData/ORV Labs/APO"
PROGRAM = "Program Files/ORV Labs/APO/orv_apo_config.xml"

# Path, suite; product, default mode and its speaker type, version, further properties; modes.
CONFIGURATIONS = [
    (f"skylake-laptop/drive_c/{PROGRAM}", "vq3d",
     ("ORV Sound for Laptops", "Music", "Internal", 7, ("Codec", "Generic HD Audio")),
     [*modes("Internal", "Music Movie Voice Game"), *modes("Headphones", "Music Movie"),
      Mode("Game", "Headphones",
           changes=SUITES["vq3d"].changes["Headphones"] | {"Ambiwide Level": 75}),
      *modes("Internal", "Music Movie", "dsp")]),
    (f"skylake-laptop/drive_c/{APO}/hdmi_config.xml", "vq3d",
     ("ORV Sound for Displays", "Movie", "HDMI", 3),
     modes("HDMI", "Music Movie") + modes("HDMI", "Movie", "dsp")),
    (f"skylake-laptop/drive_c/{APO}/dsp_bring_up.xml", "vq3d",
     ("ORV Sound bring-up", "Bring-up", "Internal", 1),
     # Coefficients of a built-in set, band gains as linear factors.
     [Mode("Bring-up", "Internal", "dsp", {"GEQ Enable": "Enabled"},
           {"VQ3D-Custom Filter Type": "HpfA", "VQ3D-GEQ 100Hz Gain Float": 1.41253757,
            "VQ3D-GEQ 300Hz Gain Float": 1.0, "VQ3D-GEQ 1kHz Gain Float": 0.89125093,
            "VQ3D-GEQ 3kHz Gain Float": 1.0, "VQ3D-GEQ 10kHz Gain Float": 1.33352144})]),
    (f"broadwell-ultrabook/drive_c/{APO}/presets_0B5A2030_81.xml", "zensnd",
     ("ORV Sound for Ultrabooks", "Movie", "Internal", 12, ("Tuning", "Lid open")),
     modes("Internal", "Music Movie Voice Game") + modes("Headphones", "Music Movie")
     + modes("Internal", "Movie", "dsp") + modes("Headphones", "Music", "DSP")),
    (f"broadwell-ultrabook/drive_c/{PROGRAM}", "zensnd",
     ("ORV Sound for Displays", "Movie", "HDMI", 4), modes("HDMI", "Music Movie")),
    (f"broadwell-ultrabook/drive_c/{APO}/dsp_bring_up.xml", "zensnd",
     ("ORV Sound bring-up", "Bring-up", "Internal", 1),
     # Fixed coefficient tables, and a high-pass named by the mode effect's prefix.
     [Mode("Bring-up", "Internal", "dsp",
           {"HPF Enable": None, "HPF Order": None, "HPF Frequency": None,
            "DPHD Speaker Audio Size": 270, "DPHD Speaker Analysis Size": 210,
            "Space HPF Custom Freq": 350},
           {"MFX:ZENSND-HPF Enable": "Enabled", "MFX:ZENSND-HPF Order": 4,
            "MFX:ZENSND-HPF Frequency": 180, "ZENSND-HPF Filter Cfg": "Default",
            "ZENSND-Filter Cfg": "Default", "ZENSND-DPHD_Speaker Custom Table": "Default",
            "ZENSND-Space HPF Custom Freq Table": "Default"})]),
    (f"qualcomm-tablet/drive_c/{APO}/kxconfig_WIN81.xml", "qumedia",
     ("ORV Sound for Tablets", "Music", "Internal", 5, ("Orientation", "Landscape")),
     modes("Internal", "Music Movie Voice Game") + modes("Headphones", "Music Movie")
     + modes("Internal", "Music", "dsp")),
    ("qualcomm-tablet/drive_c/OEM/Sound/display.xml", "qumedia",
     ("ORV Sound for Displays", "Movie", "HDMI", 2), modes("HDMI", "Music Movie")),
]

if __name__ == "__main__":
    for configuration in CONFIGURATIONS:
        write(*configuration)
