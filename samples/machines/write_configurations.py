#!/usr/bin/env python3
"""Writes the configuration files of the sample machines.

suites/*.txt hold every control of a suite with its ordinary value; the tables below say what each
operating mode does differently. Run from anywhere after a change, and check the files in.
"""

import pathlib
from dataclasses import dataclass, field
from xml.sax.saxutils import escape, quoteattr

HERE = pathlib.Path(__file__).resolve().parent
FREQUENCIES = [60, 120, 200, 350, 500, 800, 1200, 2000, 3200, 5000, 8000, 12000]
QUALITIES = [80, 120, 140, 200, 160, 140, 120, 200, 250, 180, 140, 80]

# Gains in tenths of a decibel, spread over the frequencies.
SPEAKER = [0, 15, 30, -20, -35, 0, 10, -25, 40, 20, -15, 25]
SPEECH = [-60, -40, -10, 0, 10, 25, 30, 40, 30, 10, -20, -40]
HEADPHONE = [25, 15, 0, -10]
FLAT = [0, 0]


@dataclass
class Mode:
    mode: str
    speaker: str
    curve: list = field(default_factory=lambda: SPEAKER)
    changes: dict = field(default_factory=dict)  # control: value; None leaves it out
    extra: dict = field(default_factory=dict)  # private controls of this mode only
    selector: str = ""
    auto_mic: bool = False
    chains: str = "render"  # "render", "both" (with a capture chain) or "" (none)


@dataclass
class Configuration:
    path: str
    suite: str
    properties: dict
    modes: list


def suite_rows(suite):
    """(heading, None, None) or (control, value, public) for every line of a suite's file."""
    rows = []
    for line in (HERE / "suites" / f"{suite}.txt").read_text().splitlines():
        if line.startswith("#"):
            rows.append((line[1:].strip(), None, None))
        elif line:
            setting, _, mark = line.partition(" : ")
            name, _, value = setting.partition(" = ")
            rows.append((name, value, mark != "private"))
    return rows


def band_rows(suite, curve):
    prefix = suite.upper()
    step = len(FREQUENCIES) // max(len(curve), 1)  # a short curve spans the range all the same
    for channel in ("Left", "Right"):
        for k, gain in enumerate(curve):
            stem = f"{prefix}-PEQ {channel} Band {k} "
            # The right loudspeaker stands nearer to the keyboard: a little less of everything.
            level = gain - 5 if channel == "Right" and gain > 20 else gain
            yield stem + "Enable", "Enabled" if level else "Disabled"
            yield stem + "Frequency", str(FREQUENCIES[k * step])
            yield stem + "Q Factor", str(QUALITIES[k * step])
            if suite == "qumedia":
                yield stem + "Gain", str(round(level / 10))
                continue
            yield stem + "Gain", str(level)
            shape = {0: "Low Shelf", len(curve) - 1: "High Shelf"}.get(k, "Traditional")
            yield stem + "Type", f"{prefix}-{shape}"


def mode_controls(configuration, mode):
    """Lines of the mode's controls: the key, then the suite with the mode's changes."""
    changes = dict(mode.changes)
    lines = [
        control_line("ZAPO3-Operating Mode", mode.mode, False),
        control_line("ZAPO3-Speaker Type", mode.speaker, False),
    ]
    for name, value, public in suite_rows(configuration.suite):
        if value is None:
            lines.append(f"<!-- {name} -->")
            continue
        value = changes.pop(name, value)
        if value is not None:
            lines.append(control_line(name, value, public))
    bands = band_rows(configuration.suite, mode.curve)
    lines += [control_line(name, value, True) for name, value in bands]
    if mode.extra:
        lines.append("<!-- This mode only -->")
        lines += [control_line(name, value, False) for name, value in mode.extra.items()]
    if changes:
        raise SystemExit(f"{configuration.path}: {mode.mode}: unknown controls {sorted(changes)}")
    return lines


def control_line(name, value, public):
    mark = ' public="true"' if public else ""
    return f"<control name={quoteattr(name)}{mark}>{escape(str(value))}</control>"


def chain(element, attributes, processes, controls=()):
    lines = [f"<{element}" + "".join(f' {k}="{v}"' for k, v in attributes.items()) + ">"]
    for hook, technology in enumerate(processes):
        lines.append(f'  <process tech_id="{technology}" instance_id="{hook}" hook="render"/>')
    lines += [f"  {control_line(name, value, False)}" for name, value in controls]
    return lines + [f"</{element}>"]


STREAM = {
    "vq3d": ["VQ3D-Vocalift", "VQ3D-WIDHD"],
    "zensnd": ["ZENSND-AMHD", "ZENSND-WIDHDX"],
    "qumedia": ["QUMEDIA-WIDHDX"],
}
HEADPHONE_STREAM = {
    "vq3d": ["VQ3D-Vocalift", "VQ3D-MXHP"],
    "zensnd": ["ZENSND-AMHD", "ZENSND-WIDHDX"],
    "qumedia": ["QUMEDIA-MXHP"],
}
MIX = {
    "vq3d": ["VQ3D-EVolHD", "VQ3D-DPHD", "VQ3D-GEQ", "VQ3D-Tone"],
    "zensnd": ["ZENSND-EVolHD", "ZENSND-DPHD"],
    "qumedia": ["QUMEDIA-DPHD"],
}
OUTPUT = {
    "vq3d": ["VQ3D-AEQ", "VQ3D-Master Volume", "VQ3D-Hard Limiter"],
    "zensnd": ["ZENSND-AEQ", "ZENSND-Hard Limiter"],
    "qumedia": ["QUMEDIA-HPF", "QUMEDIA-PEQ", "QUMEDIA-Hard Limiter"],
}


def mode_chains(suite, mode):
    if not mode.chains:
        return []
    stream = (HEADPHONE_STREAM if mode.speaker == "Headphones" else STREAM)[suite]
    stereo = {"input": "Stereo", "output": "Stereo"}
    lines = ["<!-- The whole stack in one place, or divided over three -->"]
    lines += chain("chain", {"input": "Mono;Stereo;5.1 Surround;7.1 Surround", "output": "Stereo"},
                   stream + MIX[suite] + OUTPUT[suite])
    lines += chain("chain_v2", {"position": "SFX", "type": "render",
                                "input": "Stereo,5.1 Surround,7.1 Surround", "output": "Stereo"},
                   stream)
    lines += chain("chain_v2", {"position": "MFX", "type": "render", **stereo}, MIX[suite])
    lines += chain("chain_v2", {"position": "EFX", "output": "Stereo"}, OUTPUT[suite])
    if mode.chains == "both":
        lines += chain("chain_v2", {"position": "SFX", "type": "capture", "input": "Mono,Stereo",
                                    "output": "Mono"}, ["ZAPO3-Switches"],
                       [("ZAPO3-Mic Monitor Enable", "Disabled")])
    return lines


def write(configuration):
    lines = ['<?xml version="1.0" encoding="utf-8"?>',
             "<!-- Written by write_configurations.py. -->",
             "<orv_configuration>", "  <properties>"]
    for name, value in configuration.properties.items():
        lines.append(f"    {control_line(name, value, False)}")
    lines += ["  </properties>"]
    for mode in configuration.modes:
        attributes = f' selector="{mode.selector}"' if mode.selector else ""
        attributes += ' auto_mic="true"' if mode.auto_mic else ""
        lines += ["", f"  <operating_mode{attributes}>"]
        lines += [f"    {line}" for line in mode_controls(configuration, mode)]
        lines += [f"    {line}" for line in mode_chains(configuration.suite, mode)]
        lines += ["  </operating_mode>"]
    lines += ["</orv_configuration>", ""]
    target = HERE / configuration.path
    target.parent.mkdir(parents=True, exist_ok=True)
    target.write_text("\n".join(lines), encoding="utf-8", newline="\n")


def properties(product, mode, speaker, version, **more):
    return {"Product Name": product, "ZAPO3-Operating Mode": mode, "ZAPO3-Speaker Type": speaker,
            "Configuration Version": version, "Support": "Sound settings, page 'Effects'", **more}


VQ3D_MOVIE = {"VQ3D-DPHD Level": 75, "VQ3D-DC Level": 70, "VQ3D-WIDHD ORV3D Space Level": 80,
              "VQ3D-EVolHD Level Intensity": 85, "VQ3D-MXHP MX Decoder Mode": "VQ3D-Cinema",
              "VQ3D-PX3D Surround Boost Enable": "Enabled"}
VQ3D_VOICE = {"VQ3D-Main Tech": "VQ3D-None", "VQ3D-Vocalift Enable": "Enabled", "VQ3D-DC Level": 90,
              "VQ3D-DPHD Enable": "Disabled", "VQ3D-EVolHD Level Intensity": -20,
              "VQ3D-Definition Enable": "Disabled", "VQ3D-HPF Frequency": 250}
VQ3D_GAME = {"VQ3D-Main Tech": "VQ3D-PX3D", "VQ3D-Ambiwide Level": 75,
             "VQ3D-DPHD Split Analysis Enable": "Enabled", "VQ3D-DPHD Speaker Audio Size": 220,
             "VQ3D-DPHD Speaker Analysis Size": 160, "VQ3D-Space HPF Cutoff Freq": 150,
             "VQ3D-Tone Enable": "Enabled", "VQ3D-Bass Gain": 4, "VQ3D-Treble Gain": 2}
VQ3D_HEADPHONES = {"VQ3D-Main Tech": "VQ3D-MXHP", "VQ3D-MXHP MX Decoder Enable": "Enabled",
                   "VQ3D-HPF Enable": "Disabled", "VQ3D-HPF Order": 2, "VQ3D-HPF Frequency": 30,
                   "VQ3D-DPHD Speaker Audio Size": 40, "VQ3D-DPHD Speaker Analysis Size": 40,
                   "VQ3D-GEQ Enable": "Enabled", "VQ3D-GEQ 100Hz Gain": 30,
                   "VQ3D-GEQ 300Hz Gain": -10, "VQ3D-GEQ 3kHz Gain": 15, "VQ3D-GEQ 10kHz Gain": 25,
                   "VQ3D-Hard Limiter Output Gain": -20}
VQ3D_HDMI = {"VQ3D-Main Tech": "VQ3D-AMHD", "VQ3D-HPF Enable": "Disabled",
             "VQ3D-AEQ Enable": "Disabled", "VQ3D-DPHD Enable": "Disabled",
             "VQ3D-Space HPF Enable": "Disabled"}

SKYLAKE = [
    Configuration(
        "skylake-laptop/drive_c/Program Files/ORV Labs/APO/orv_apo_config.xml", "vq3d",
        properties("ORV Sound for Laptops", "Music", "Internal", 7, Codec="Generic HD Audio"), [
            Mode("Music", "Internal"),
            Mode("Movie", "Internal", changes=VQ3D_MOVIE),
            Mode("Voice", "Internal", SPEECH, VQ3D_VOICE, auto_mic=True, chains="both"),
            Mode("Game", "Internal", changes=VQ3D_GAME),
            Mode("Music", "Headphones", HEADPHONE, VQ3D_HEADPHONES),
            Mode("Movie", "Headphones", HEADPHONE,
                 VQ3D_MOVIE | VQ3D_HEADPHONES | {"VQ3D-MXHP MX Decoder Mode": "VQ3D-Cinema"}),
            Mode("Game", "Headphones", HEADPHONE, VQ3D_HEADPHONES | {"VQ3D-Ambiwide Level": 75}),
            Mode("Music", "Internal", selector="dsp", chains=""),
            Mode("Movie", "Internal", changes=VQ3D_MOVIE, selector="dsp", chains=""),
        ]),
    Configuration(
        "skylake-laptop/drive_c/ProgramData/ORV Labs/APO/hdmi_config.xml", "vq3d",
        properties("ORV Sound for Displays", "Movie", "HDMI", 3), [
            Mode("Music", "HDMI", FLAT, VQ3D_HDMI),
            Mode("Movie", "HDMI", FLAT, VQ3D_MOVIE | VQ3D_HDMI),
            Mode("Movie", "HDMI", FLAT, VQ3D_MOVIE | VQ3D_HDMI, selector="dsp", chains=""),
        ]),
    Configuration(
        "skylake-laptop/drive_c/ProgramData/ORV Labs/APO/dsp_bring_up.xml", "vq3d",
        properties("ORV Sound bring-up", "Bring-up", "Internal", 1), [
            # Coefficients of a built-in set, band gains as linear factors.
            Mode("Bring-up", "Internal", [], selector="dsp", chains="",
                 changes={"VQ3D-GEQ Enable": "Enabled"},
                 extra={"VQ3D-Custom Filter Type": "HpfA", "VQ3D-GEQ 100Hz Gain Float": 1.41253757,
                        "VQ3D-GEQ 300Hz Gain Float": 1.0, "VQ3D-GEQ 1kHz Gain Float": 0.89125093,
                        "VQ3D-GEQ 3kHz Gain Float": 1.0, "VQ3D-GEQ 10kHz Gain Float": 1.33352144}),
        ]),
]

ZENSND_MOVIE = {"ZENSND-DPHD Level": 70, "ZENSND-DC Level": 65, "ZENSND-Surround Enable": "Enabled",
                "ZENSND-AMHD Input Mode": "ZENSND-3_2_1", "ZENSND-EVolHD Level Intensity": 85}
ZENSND_VOICE = {"ZENSND-WIDHDX ORV3D Mode": "ZENSND-Mono", "ZENSND-DPHD Enable": "Disabled",
                "ZENSND-DC Level": 95, "ZENSND-EVolHD Level Intensity": -30,
                "ZENSND-HPF Order": 4, "ZENSND-HPF Frequency": 280}
ZENSND_GAME = {"ZENSND-Surround Enable": "Enabled", "ZENSND-Surround Level": 80,
               "ZENSND-DPHD Speaker Audio Size": 270, "ZENSND-DPHD Speaker Analysis Size": 210,
               "ZENSND-Space HPF Custom Freq": 350}
ZENSND_HEADPHONES = {"ZENSND-WIDHDX Headphone Enable": "Enabled",
                     "ZENSND-AMHD Input Mode": "ZENSND-Headphone", "ZENSND-HPF Enable": "Disabled",
                     "ZENSND-HPF Order": 1, "ZENSND-HPF Frequency": 30,
                     "ZENSND-DPHD Speaker Audio Size": 40, "ZENSND-DPHD Speaker Analysis Size": 40,
                     "ZENSND-Hard Limiter Output Gain": -20}
ZENSND_HDMI = {"ZENSND-HPF Enable": "Disabled", "ZENSND-AEQ Enable": "Disabled",
               "ZENSND-DPHD Enable": "Disabled", "ZENSND-Space HPF Enable": "Disabled"}

BROADWELL = [
    Configuration(
        "broadwell-ultrabook/drive_c/ProgramData/ORV Labs/APO/presets_0B5A2030_81.xml", "zensnd",
        properties("ORV Sound for Ultrabooks", "Movie", "Internal", 12, Tuning="Lid open"), [
            Mode("Music", "Internal", SPEAKER[::2]),
            Mode("Movie", "Internal", SPEAKER[::2], ZENSND_MOVIE),
            Mode("Voice", "Internal", SPEECH[::2], ZENSND_VOICE, auto_mic=True, chains="both"),
            Mode("Game", "Internal", SPEAKER[::2], ZENSND_GAME),
            Mode("Music", "Headphones", HEADPHONE, ZENSND_HEADPHONES),
            Mode("Movie", "Headphones", HEADPHONE, ZENSND_MOVIE | ZENSND_HEADPHONES),
            Mode("Movie", "Internal", SPEAKER[::2], ZENSND_MOVIE, selector="dsp", chains=""),
            Mode("Music", "Headphones", HEADPHONE, ZENSND_HEADPHONES, selector="DSP", chains=""),
        ]),
    Configuration(
        "broadwell-ultrabook/drive_c/Program Files/ORV Labs/APO/orv_apo_config.xml", "zensnd",
        properties("ORV Sound for Displays", "Movie", "HDMI", 4), [
            Mode("Music", "HDMI", FLAT, ZENSND_HDMI),
            Mode("Movie", "HDMI", FLAT, ZENSND_MOVIE | ZENSND_HDMI),
        ]),
    Configuration(
        "broadwell-ultrabook/drive_c/ProgramData/ORV Labs/APO/dsp_bring_up.xml", "zensnd",
        properties("ORV Sound bring-up", "Bring-up", "Internal", 1), [
            # Fixed coefficient tables, and a high-pass named by the mode effect's prefix.
            Mode("Bring-up", "Internal", [], selector="dsp", chains="",
                 changes={"ZENSND-HPF Enable": None, "ZENSND-HPF Order": None,
                          "ZENSND-HPF Frequency": None, "ZENSND-DPHD Speaker Audio Size": 270,
                          "ZENSND-DPHD Speaker Analysis Size": 210,
                          "ZENSND-Space HPF Custom Freq": 350},
                 extra={"MFX:ZENSND-HPF Enable": "Enabled", "MFX:ZENSND-HPF Order": 4,
                        "MFX:ZENSND-HPF Frequency": 180, "ZENSND-HPF Filter Cfg": "Default",
                        "ZENSND-Filter Cfg": "Default",
                        "ZENSND-DPHD_Speaker Custom Table": "Default",
                        "ZENSND-Space HPF Custom Freq Table": "Default"}),
        ]),
]

QUMEDIA_MOVIE = {"QUMEDIA-DPHD Level": 70, "QUMEDIA-DC Level": 75,
                 "QUMEDIA-WIDHDX ORV3D Space Level": 85,
                 "QUMEDIA-MXHP MX Decoder Mode": "QUMEDIA-Cinema"}
QUMEDIA_VOICE = {"QUMEDIA-Main Tech": "QUMEDIA-None",
                 "QUMEDIA-WIDHDX ORV3D Mode": "QUMEDIA-Mono", "QUMEDIA-DPHD Enable": "Disabled",
                 "QUMEDIA-DC Level": 95, "QUMEDIA-HPF Frequency": 300}
QUMEDIA_GAME = {"QUMEDIA-WIDHDX ORV3D Mode": "QUMEDIA-Single Speaker",
                "QUMEDIA-DPHD Split Analysis Enable": "Enabled",
                "QUMEDIA-Hard Limiter Boost Offset": 9}
QUMEDIA_HEADPHONES = {"QUMEDIA-Main Tech": "QUMEDIA-MXHP",
                      "QUMEDIA-MXHP MX Decoder Enable": "Enabled",
                      "QUMEDIA-HPF Enable": "Disabled", "QUMEDIA-HPF Order": 2,
                      "QUMEDIA-HPF Frequency": 30, "QUMEDIA-DPHD Speaker Audio Custom Size": 40,
                      "QUMEDIA-DPHD Speaker Analysis Custom Size": 40}
QUMEDIA_HDMI = {"QUMEDIA-Main Tech": "QUMEDIA-None", "QUMEDIA-HPF Enable": "Disabled",
                "QUMEDIA-Link PEQ Enable": "Disabled", "QUMEDIA-WIDHDX Bypass Gain": -999}

QUALCOMM = [
    Configuration(
        "qualcomm-tablet/drive_c/ProgramData/ORV Labs/APO/kxconfig_WIN81.xml", "qumedia",
        properties("ORV Sound for Tablets", "Music", "Internal", 5, Orientation="Landscape"), [
            Mode("Music", "Internal", SPEAKER[::3]),
            Mode("Movie", "Internal", SPEAKER[::3], QUMEDIA_MOVIE),
            Mode("Voice", "Internal", SPEECH[::3], QUMEDIA_VOICE, auto_mic=True, chains="both"),
            Mode("Game", "Internal", SPEAKER[::3], QUMEDIA_GAME),
            Mode("Music", "Headphones", HEADPHONE, QUMEDIA_HEADPHONES),
            Mode("Movie", "Headphones", HEADPHONE, QUMEDIA_MOVIE | QUMEDIA_HEADPHONES),
            Mode("Music", "Internal", SPEAKER[::3], selector="dsp", chains=""),
        ]),
    Configuration(
        "qualcomm-tablet/drive_c/OEM/Sound/display.xml", "qumedia",
        properties("ORV Sound for Displays", "Movie", "HDMI", 2), [
            Mode("Music", "HDMI", FLAT * 2, QUMEDIA_HDMI),
            Mode("Movie", "HDMI", FLAT * 2, QUMEDIA_MOVIE | QUMEDIA_HDMI),
        ]),
]

if __name__ == "__main__":
    for described in SKYLAKE + BROADWELL + QUALCOMM:
        write(described)
