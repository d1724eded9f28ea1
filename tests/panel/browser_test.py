#!/usr/bin/python3
"""Uses the page of "orvctl serve" as its users do, in headless Chromium, on copies of the sample machines.

  browser_test.py ORVCTL SCREENSHOTS [TEST...]

ORVCTL is the program, SCREENSHOTS the folder for the pictures.
"""
import contextlib
import json
import os
import re
import signal
import subprocess
import sys
import tempfile
import time
import unittest

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

ORVCTL, SCREENSHOTS = map(os.path.abspath, sys.argv[1:3])
MACHINES = ["skylake-laptop", "broadwell-ultrabook", "qualcomm-tablet", "broken"]
PATIENCE = 30  # seconds, on a machine with other work
# Text and its ground, as the page computes them, in every visible element with text of its own.
CONTRASTS = """
const luminance = (rgb) => rgb.map((c) => c / 255).map((c) => c <= .03928 ? c / 12.92 : ((c + .055) / 1.055) ** 2.4)
  .reduce((sum, c, i) => sum + c * [.2126, .7152, .0722][i], 0);
const parse = (text) => text.match(/[\\d.]+/g).map(Number);
const ground = (element) => {
  for (; element; element = element.parentElement) {
    const [r, g, b, a = 1] = parse(getComputedStyle(element).backgroundColor);
    if (a > 0) return [r, g, b];
  }
  return [255, 255, 255];
};
return [...document.querySelectorAll('body *')].filter((e) => !e.disabled && e.checkVisibility() &&
    [...e.childNodes].some((n) => n.nodeType === 3 && n.data.trim())).map((e) => {
  const [a, b] = [luminance(parse(getComputedStyle(e).color).slice(0, 3)), luminance(ground(e))].sort((x, y) => y - x);
  return [(a + .05) / (b + .05), e.tagName + ': ' + e.textContent.trim().slice(0, 40)];
}).filter(([ratio]) => ratio < 4.5);
"""
HANDLE = """
const chart = Chart.getChart('response-plot');
const index = chart.data.datasets.findIndex((set) => set.isHandles);
const box = chart.canvas.getBoundingClientRect();
const handle = chart.getDatasetMeta(index).data[arguments[0]];
return [handle.x - box.width / 2, handle.y - box.height / 2];
"""


def orvctl(machine, *words):
    done = subprocess.run([ORVCTL, "--json", "--machine", machine, *words], capture_output=True, text=True, check=False)
    return json.loads(done.stdout) if done.stdout else None


class Server:
    def __init__(self, machine, *options):
        self.process = subprocess.Popen([ORVCTL, "--machine", machine, "serve", *options], stdout=subprocess.PIPE, text=True)
        self.address = None
        for line in self.process.stdout:
            if found := re.search(r"http://\S+", line):
                self.address = found.group()
                break
        if self.address is None:
            raise RuntimeError(f"orvctl serve printed no address and ended with {self.process.wait()}")
        self.port = re.search(r":(\d+)/", self.address).group(1)

    def stop(self):
        self.process.send_signal(signal.SIGCONT)
        self.process.send_signal(signal.SIGINT)
        status = self.process.wait(PATIENCE)
        self.process.stdout.close()
        return status


class Page(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def serve(self, sample="skylake-laptop", *options):
        self.machine = os.path.join(self.folder, sample)
        subprocess.run([ORVCTL, "machine", "new", self.machine, "--from", sample], check=True, capture_output=True)
        return self.start(*options)

    def start(self, *options):
        server = Server(self.machine, *options)
        self.addCleanup(lambda: server.process.poll() is None and server.stop())
        return server

    def open(self, server, width=1400, height=1000, dark=False):
        options = Options()
        options.binary_location = "/usr/bin/chromium"
        for word in ("headless=new", "no-sandbox", "disable-gpu", "disable-quic", "no-first-run", "disable-dev-shm-usage",
                     "disable-background-networking", "disable-component-update", "disable-sync", "force-prefers-reduced-motion"):
            options.add_argument(f"--{word}")
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.addCleanup(self.browser.quit)
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                     {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "features": [{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}]})
        self.browser.get(server.address)
        self.until(lambda: self.text("connection").startswith("Connected"), "the page connects")

    def find(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def text(self, identifier):
        return self.browser.find_element(By.ID, identifier).text

    def until(self, condition, what):
        end = time.monotonic() + PATIENCE
        while time.monotonic() < end:
            with contextlib.suppress(Exception):  # an element that is being replaced
                if condition():
                    return
            time.sleep(0.02)
        self.browser.save_screenshot(os.path.join(SCREENSHOTS, f"{self.id().split('.')[-1]}-failed.png"))
        self.fail(f"not within {PATIENCE} s: {what}")

    def row(self, control):
        return self.find(f'.control[aria-label="{control}"]')

    def value(self, control):
        return self.row(control).find_element(By.CSS_SELECTOR, "input[type=text]")

    def picture(self, name):
        self.browser.save_screenshot(os.path.join(SCREENSHOTS, f"{name}.png"))

    def errors(self):
        return [entry["message"] for entry in self.browser.get_log("browser")
                if entry["level"] == "SEVERE" and not re.search(r"status of (400|409)", entry["message"])]

    def test_shows_every_sample_machine_as_orvctl_does(self):
        for sample in MACHINES:
            with self.subTest(sample):
                server = self.serve(sample)
                self.open(server)
                endpoints = orvctl(self.machine, "endpoints")
                self.until(lambda: len(self.browser.find_elements(By.CSS_SELECTOR, "#endpoints button")) == len(endpoints), "endpoints")
                for number, endpoint in enumerate(endpoints):
                    self.until(lambda: self.browser.find_elements(By.CSS_SELECTOR, "#endpoints button")[number].click() or True, "its button")
                    self.until(lambda: self.text("endpoint-name") == endpoint["name"], endpoint["name"])
                    modes = orvctl(self.machine, "modes", str(number))
                    self.until(lambda: [tab.text.removesuffix(" ● current") for tab in self.browser.find_elements(By.CSS_SELECTOR, "[role=tab]")]
                               == [mode["name"].removeprefix("ApoOpMode:") for mode in modes], "modes")
                    shown = next((mode["name"] for mode in modes if mode["current"]), modes[0]["name"] if modes else None)
                    controls = orvctl(self.machine, "controls", str(number), "--mode", shown) if shown else []
                    self.until(lambda: len(self.browser.find_elements(By.CLASS_NAME, "control")) == len(controls), "controls")
                    self.until(lambda: self.text("doctor"), "doctor")
                self.picture(sample)
                self.assertEqual(self.errors(), [])
                self.browser.quit()
                self.assertEqual(server.stop(), 0)

    def test_changes_from_outside_refusals_and_undo(self):
        self.open(self.serve())
        level = "VQ3D-DC Level"
        self.until(lambda: self.value(level).get_attribute("value") == "85 %", "the stored value")
        page = self.browser.current_window_handle
        self.browser.switch_to.new_window("tab")
        orvctl(self.machine, "set", "0", level, "11%")
        self.browser.close()
        self.browser.switch_to.window(page)
        self.until(lambda: self.value(level).get_attribute("value") == "11 %" and self.text("undo") == "Undo set", "what happened while the page was hidden")
        orvctl(self.machine, "set", "0", level, "12%")
        self.until(lambda: self.value(level).get_attribute("value") == "12 %", "a change by another program")
        self.until(lambda: "another program" in self.text("feed"), "its source")
        self.value(level).send_keys(Keys.CONTROL + "a" + Keys.NULL, "33%", Keys.ENTER)
        self.until(lambda: orvctl(self.machine, "get", "0", level)["value"] == 33, "a typed value in the registry")
        self.until(lambda: "this page" in self.find("#feed li").text, "its source")
        self.value(level).send_keys(Keys.CONTROL + "a" + Keys.NULL, "101", Keys.ENTER)
        self.until(lambda: "100" in self.row(level).find_element(By.CLASS_NAME, "problem").text, "the reason of a refusal")
        self.assertEqual(self.value(level).get_attribute("value"), "33 %")
        self.row(level).find_element(By.CSS_SELECTOR, "input[type=range]").send_keys(Keys.ARROW_RIGHT)
        self.until(lambda: orvctl(self.machine, "get", "0", level)["value"] == 34, "a step of the slider")
        self.until(lambda: "undo" in self.text("undo").lower() and self.find("#undo").is_enabled(), "something to undo")
        self.find("#undo").click()
        self.until(lambda: self.value(level).get_attribute("value") == "33 %", "undo")
        self.row(level).find_element(By.TAG_NAME, "button").click()
        self.until(lambda: orvctl(self.machine, "get", "0", level)["value"] == 70, "the default")
        for text in ("peq left 3 gain", "VQ3D-PEQ Left Band 3 Gain"):
            self.find("#search").clear()
            self.find("#search").send_keys(text)
            self.until(lambda: [row.get_attribute("aria-label") for row in self.browser.find_elements(By.CLASS_NAME, "control") if row.is_displayed()]
                       == ["VQ3D-PEQ Left Band 3 Gain"], "the search")
        self.assertEqual(self.errors(), [])

    def test_a_dragged_band_is_what_orvctl_reads(self):
        for sample, peq, steps in (("qualcomm-tablet", "QUMEDIA-PEQ", 1), ("skylake-laptop", "VQ3D-PEQ", 10)):
            with self.subTest(sample):
                self.open(self.serve(sample))
                plot = self.find("#response-plot")
                self.until(lambda: self.browser.execute_script("return Chart.getChart('response-plot').data.datasets.some((set) => set.isHandles)"), "bands")
                self.browser.execute_script("arguments[0].scrollIntoView({block: 'center'})", plot)
                x, y = map(int, self.browser.execute_script(HANDLE, 2))
                before = orvctl(self.machine, "get", "0", f"{peq} Left Band 2 Frequency")["value"]
                ActionChains(self.browser).move_to_element_with_offset(plot, x, y).click_and_hold().move_by_offset(30, -15).release().perform()
                point = "return Chart.getChart('response-plot').data.datasets.find((set) => set.isHandles).data[2]"
                self.until(lambda: (shown := self.browser.execute_script(point)) and shown["x"] > before and
                           [orvctl(self.machine, "get", "0", f"{peq} {side} Band 2 {part}")["value"] for side in ("Left", "Right") for part in ("Frequency", "Gain")]
                           == 2 * [round(shown["x"]), round(shown["y"] * steps)], "both channels hold the dragged band")
                self.assertEqual([len(entry["changes"]) for entry in orvctl(self.machine, "undo", "0", "--list")], [4], "one drag, one undo")
                self.find("#push").click()
                self.until(lambda: re.search("verified|received", self.text("push-result")), "the push's verdict")
                self.until(lambda: self.browser.execute_script(
                    "return Chart.getChart('response-plot').data.datasets.some((set) => /DSP holds/.test(set.label))"), "the DSP's curve")
                self.picture("response")
                self.browser.quit()

    def test_a_lost_server_is_shown_and_its_return_found(self):
        server = self.serve()
        self.open(server)
        server.stop()
        self.until(lambda: "lost" in self.text("connection").lower(), "the loss is shown")
        again = self.start("--port", server.port)
        self.until(lambda: "printed" in self.text("banner"), "the page asks for the new key")
        self.browser.get(again.address)
        self.until(lambda: self.text("connection") == "Connected", "the page of the new server")

    def test_read_only_pages_change_nothing(self):
        self.open(self.serve("skylake-laptop", "--read-only"))
        self.until(lambda: self.browser.find_elements(By.CLASS_NAME, "control"), "controls")
        enabled = [element.get_attribute("id") for element in self.browser.find_elements(By.CSS_SELECTOR, ".control input, .control select, #enabled, #push, #undo, #restore")
                   if element.is_enabled()]
        self.assertEqual(enabled, [])

    def test_the_keyboard_keeps_its_place(self):
        self.open(self.serve())
        self.until(lambda: len(self.browser.find_elements(By.CLASS_NAME, "control")) > 100, "controls")
        focused = "return document.activeElement.id"
        shown = lambda: self.find("#modes [aria-selected=true]").get_attribute("id")
        level = "#c-VQ3D-DC-Level"
        bands = os.path.join(self.folder, "bands.txt")
        with open(bands, "w", encoding="ascii") as file:
            file.write("Filter 1: ON PK Fc 105 Hz Gain -4.5 dB Q 2.1\nFilter 2: ON PK Fc 300 Hz Gain 40 dB Q 2\n")
        for selector, key, expected, done in (
                ("#endpoints li:nth-child(2) button", Keys.ENTER, None, lambda: shown() == "mode-Music/Internal"),
                ("#endpoints li:nth-child(1) button", Keys.ENTER, None, lambda: shown() == "mode-Movie/Internal"),
                ("#modes [aria-selected=true]", Keys.ARROW_RIGHT, "mode-Voice/Internal", lambda: self.find("#make-current").is_enabled()),
                ("#make-current", Keys.ENTER, "mode-Voice/Internal", lambda: orvctl(self.machine, "endpoints")[0]["mode"] == "ApoOpMode:Voice/Internal"),
                ("#enabled", Keys.SPACE, None, lambda: orvctl(self.machine, "enable", "0")["enabled"] is False),
                ("#push", Keys.ENTER, None, lambda: self.text("push-result")),
                (level, Keys.ARROW_RIGHT, None, lambda: self.row("VQ3D-DC Level").find_element(By.TAG_NAME, "button").is_displayed()),
                ('.control[aria-label="VQ3D-DC Level"] button', Keys.ENTER, level[1:], lambda: not self.row("VQ3D-DC Level").find_element(By.TAG_NAME, "button").is_displayed()),
                ("#undo", Keys.ENTER, None, lambda: "taken back" in self.text("undo-result")),
                ("#import-preview button", Keys.ENTER, "import-file", lambda: "is in the mode" in self.text("import-preview")),
                ("#import-preview button", Keys.ESCAPE, "import-file", lambda: not self.text("import-preview"))):
            with self.subTest(selector):
                if selector.startswith("#import-preview"):
                    self.find("#import-file").send_keys(bands)
                    self.until(lambda: "Line 2: Gain 40 dB becomes" in self.text("import-preview"), "the preview")
                self.browser.execute_script("arguments[0].focus()", self.find(selector))
                before = self.browser.execute_script(focused)
                ActionChains(self.browser).send_keys(key).perform()
                self.until(done, "what the key does")
                self.until(lambda: self.browser.execute_script(focused) == (expected or before), "the focus is back")

    def test_every_width_and_theme_can_be_read_and_named(self):
        server = self.serve()
        for width in (390, 1400, 2560):
            for dark in (False, True):
                with self.subTest(width=width, dark=dark):
                    self.open(server, width, 1100, dark)
                    self.until(lambda: len(self.browser.find_elements(By.CLASS_NAME, "control")) > 100, "controls")
                    self.browser.execute_script("document.querySelectorAll('details').forEach((details) => details.open = true)")
                    self.picture(f"laptop-{width}-{'dark' if dark else 'light'}")
                    self.assertLessEqual(self.browser.execute_script("return document.documentElement.scrollWidth - innerWidth"), 0, "scrolls sideways")
                    self.assertEqual(self.browser.execute_script(CONTRASTS), [], "contrast below 4.5")
                    nodes = self.browser.execute_cdp_cmd("Accessibility.getFullAXTree", {})["nodes"]
                    used = [node for node in nodes if not node.get("ignored") and node.get("role", {}).get("value") in
                            ("button", "checkbox", "switch", "slider", "textbox", "searchbox", "combobox", "tab", "image", "table", "region", "navigation")]
                    self.assertGreater(len(used), 300)
                    self.assertEqual([node["role"]["value"] for node in used if not node.get("name", {}).get("value") and node["role"]["value"] != "table"], [], "without a name")
                    self.browser.quit()


if __name__ == "__main__":
    os.makedirs(SCREENSHOTS, exist_ok=True)
    unittest.main(argv=[sys.argv[0], "-v", *sys.argv[3:]])
