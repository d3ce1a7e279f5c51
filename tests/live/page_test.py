#!/usr/bin/python3
"""The page in a browser without a window, served by a program that also has its prompt: what a control does to store,
engine and picture, and what happens elsewhere to the controls.
  page_test.py ISP_SIM [FOLDER]     FOLDER gets pictures of the page"""
import base64
import json
import os
import pty
import re
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.request

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

PROGRAM = sys.argv[1]
PICTURES = sys.argv[2] if len(sys.argv) > 2 else None
DEMO = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../simulator/live/demo.isp")
FLAGS = ("--headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking "
         "--disable-component-update --disable-sync --window-size=1280,800")


class Program:
    """isp-sim on a terminal of its own, serving."""

    def __init__(self, folder):
        self.terminal, end = pty.openpty()
        self.process = subprocess.Popen([PROGRAM, "--state", folder, "--serve", "0", DEMO], stdin=end, stdout=end, stderr=end,
                                        close_fds=True, start_new_session=True)
        os.close(end)
        self.said = ""
        self.url = self.expect(r"http://127\.0\.0\.1:\d+/").group()

    def expect(self, pattern):
        until = time.monotonic() + 20
        while not re.search(pattern, self.said):
            if time.monotonic() > until:
                raise AssertionError(f"no {pattern} in {self.said}")
            self.said += os.read(self.terminal, 4096).decode(errors="replace")
        return re.search(pattern, self.said)

    def type(self, line):
        os.write(self.terminal, line.encode() + b"\n")

    def request(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.url + path, data, {"Content-Type": "application/json"}, method=method)
        with urllib.request.urlopen(request, timeout=20) as answer:
            return json.load(answer)

    def stored(self, camera, name):
        return self.request("GET", "api/state")["cameras"][camera]["settings"][name]

    def run(self, line):
        return self.request("POST", "api/command", {"line": line})["output"]


def open_browser(folder):
    options = webdriver.ChromeOptions()
    for flag in FLAGS.split():
        options.add_argument(flag)
    options.add_argument(f"--user-data-dir={folder}")
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folders = [tempfile.TemporaryDirectory() for _ in range(2)]
        cls.program = Program(cls.folders[0].name)
        cls.program.expect("isp> ")  # the script is over
        cls.browser = open_browser(cls.folders[1].name)
        cls.browser.execute_cdp_cmd("Emulation.setScrollbarsHidden", {"hidden": True})

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()
        cls.program.type("quit")
        status = cls.program.process.wait(20)
        for folder in cls.folders:
            folder.cleanup()
        assert status == 0, status

    def setUp(self):
        self.program.run("set 0 style default")
        for name in ("saturation 7", "luminance 7", "hue 7", "exposure_mode auto", "wb_mode auto"):
            self.program.run(f"set 0 {name}")
        self.expected = None
        self.eventually(lambda: self.program.request("GET", "api/state")["cameras"][0]["converged"])
        self.size(1280, 800)
        self.browser.get(self.program.url)
        self.eventually(lambda: len(self.all(".camera")) == 4 and self.brightness(3) > 0)

    def tearDown(self):
        wrong = [entry["message"] for entry in self.browser.get_log("browser") if entry["level"] in ("SEVERE", "WARNING")]
        self.assertEqual([text for text in wrong if not self.expected or self.expected not in text], [])

    def eventually(self, condition, patience=60):
        until = time.monotonic() + patience
        while not condition():
            self.assertLess(time.monotonic(), until, "it does not happen")
            time.sleep(0.05)

    def all(self, css):
        return self.browser.find_elements(By.CSS_SELECTOR, css)

    def one(self, css):
        return self.browser.find_element(By.CSS_SELECTOR, css)

    def tab(self, text):
        button = self.browser.find_element(By.XPATH, f"//button[@role='tab'][text()='{text}']")
        self.browser.execute_script("arguments[0].scrollIntoView();", button)  # from behind the picture
        button.click()

    def choose(self, text):
        self.browser.find_element(By.XPATH, f"//label[text()='{text}']/../input").click()

    def row(self, name):
        return self.one(f".page:not([hidden]) [data-setting={name}]")

    def slider(self, name):
        return self.one(f"[data-setting={name}] input[type=range]")

    def note(self, name):
        return self.one(f"[data-setting={name}] .note").text

    def brightness(self, camera):
        """The mean of the picture that the page shows."""
        return self.browser.execute_script("""
            const copy = new OffscreenCanvas(80, 60).getContext('2d', { willReadFrequently: true });
            copy.drawImage(document.querySelectorAll('.camera .picture')[arguments[0]], 0, 0, 80, 60);
            const pixels = copy.getImageData(0, 0, 80, 60).data;
            return pixels.reduce((sum, value, i) => sum + (i % 4 === 3 ? 0 : value), 0) / pixels.length;""", camera)

    def size(self, width, height, scale=1, dark=False):
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": scale, "mobile": width < 600})
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [
            {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}]})

    def save(self, name):
        if PICTURES:
            os.makedirs(PICTURES, exist_ok=True)
            taken = self.browser.execute_cdp_cmd("Page.captureScreenshot", {"format": "jpeg", "quality": 88})
            with open(f"{PICTURES}/{name}.jpg", "wb") as file:
                file.write(base64.b64decode(taken["data"]))

    def test_a_slider_changes_store_engine_and_picture_and_one_click_puts_it_back(self):
        self.tab("Image")
        before = self.brightness(0)
        held = self.program.run("block 0 acp brightness")
        slider = self.slider("luminance")
        slider.send_keys(Keys.END)
        self.eventually(lambda: self.program.stored(0, "luminance") == 14)
        self.assertNotEqual(self.program.run("block 0 acp brightness"), held)
        self.eventually(lambda: self.brightness(0) > before + 10)
        self.assertEqual(self.program.stored(1, "luminance"), 7)
        reset = self.row("luminance").find_element(By.CSS_SELECTOR, ".reset")
        self.eventually(reset.is_displayed)
        reset.click()
        self.eventually(lambda: self.program.stored(0, "luminance") == 7 and slider.get_property("value") == "7")
        self.eventually(lambda: abs(self.brightness(0) - before) < 3)
        self.eventually(lambda: not reset.is_displayed())

    def test_a_page_of_another_site_changes_nothing(self):
        self.expected = self.program.url  # each refusal is an error on the console
        self.browser.get("data:text/html,another site")
        host = self.program.url.split("/")[2]
        inner = (f"PUT /api/cameras/0/settings/hue HTTP/1.1\r\nHost: {host}\r\nContent-Type: application/json\r\n"
                 'Content-Length: 12\r\n\r\n{"value": 3}')
        for path, body in ("a" * 9000, inner), ("a" * 90000, inner), ("api/state", inner), ("api/command", '{"line": "set 0 hue 3"}'):
            self.browser.execute_async_script("""
                const [url, body, done] = arguments;
                fetch(url, { method: 'POST', mode: 'no-cors', body }).then(done, done);""", self.program.url + path, body)
        self.assertEqual(self.program.stored(0, "hue"), 7)

    def test_what_happens_at_the_prompt_moves_the_controls(self):
        self.tab("Image")
        self.program.type("set 0 hue 3")
        self.eventually(lambda: self.slider("hue").get_property("value") == "3")
        self.eventually(lambda: "KIV_Set_hue" in self.one("#log-lines").text)
        self.program.type("set 1 hue 12")
        self.browser.find_element(By.XPATH, "//button[text()='Camera 1']").click()
        self.eventually(lambda: self.slider("hue").get_property("value") == "12")
        self.expected = "cameras/3/picture.jpg" # that was asked for while the camera went away
        self.program.type("release 3")
        self.eventually(lambda: len(self.all(".camera")) == 3)
        self.program.type("start 3")
        self.eventually(lambda: len(self.all(".camera")) == 4)

    def test_a_setting_that_does_not_apply_says_so_and_a_refusal_is_shown_in_place(self):
        self.tab("Exposure")
        self.eventually(lambda: "manual" in self.note("shutter"))
        self.assertIn("unused", self.row("shutter").get_attribute("class"))
        self.slider("shutter").send_keys(Keys.END)
        self.eventually(lambda: self.note("shutter").startswith("Not stored"))
        self.eventually(lambda: self.slider("shutter").get_property("value") == "1")
        self.choose("manual")
        self.eventually(lambda: "unused" not in self.row("shutter").get_attribute("class"))
        self.slider("shutter").send_keys(Keys.END)
        self.eventually(lambda: self.program.stored(0, "shutter") == 16)
        self.expected = "api/command"  # a refused command is an error on the console too
        self.one("#command").send_keys("set 0 colour 3\n")
        self.eventually(lambda: "there is no setting colour" in self.one("#log-lines").text)

    def test_a_style_moves_many_controls_and_a_held_picture_stays_beside_the_live_one(self):
        self.tab("Image")
        card = self.one(".camera")
        card.find_element(By.XPATH, ".//button[text()='Enlarge']").click()
        self.eventually(lambda: self.one(".camera.large .picture").get_property("width") > 640)
        card.find_element(By.XPATH, ".//button[text()='Hold']").click()
        self.assertEqual(len(self.all(".page:not([hidden]) .row.changed")), 0)
        self.choose("food")
        self.eventually(lambda: len(self.all(".page:not([hidden]) .row.changed")) >= 4)
        self.assertEqual(self.program.stored(0, "style"), 13)
        split = card.find_element(By.CSS_SELECTOR, ".split")
        split.send_keys(Keys.END)
        held = self.brightness(0)
        split.send_keys(Keys.HOME)
        self.eventually(lambda: abs(self.brightness(0) - held) > 1)
        self.browser.execute_script("""
            arguments[0].value = 50;
            arguments[0].dispatchEvent(new Event('input'));
            document.activeElement.blur();""", split)
        time.sleep(0.5)
        self.size(1280, 800, dark=True)
        time.sleep(0.5)
        self.save("live-dark")

    def test_the_picture_fits_the_window_and_stays_in_sight_of_every_slider(self):
        inside = """return arguments[0].every((node) => {
            const { top, bottom, left, right } = node.getBoundingClientRect();
            return top >= 0 && left >= 0 && bottom <= innerHeight && right <= innerWidth;
        })"""
        self.one(".camera .enlarge").click()
        self.one("[aria-label='Hold picture of camera 0']").click()
        for width, height in ((1280, 800), (1920, 1080)):
            self.size(width, height)
            parts = self.all(".large :is(.picture, .histogram, .figures, .split, .buttons)")
            self.assertEqual(len(parts), 5)
            self.eventually(lambda: self.browser.execute_script(inside, parts))
        self.assertTrue(self.browser.execute_script(inside, self.all("#plot-card, #log")))
        self.one("#histograms").click()
        self.eventually(lambda: not self.one(".large .histogram").is_displayed())
        self.one("#histograms").send_keys(Keys.ESCAPE)
        self.eventually(lambda: not self.all(".large") and not self.all(".small"))
        self.size(390, 844, 2)
        for name in ("Exposure", "Image"):
            self.tab(name)
            for slider in self.all(".page:not([hidden]) > .row input[type=range]"):
                covered = self.browser.execute_script("""
                    scrollTo(0, 0);
                    arguments[0].focus();
                    const { left, top, width, height } = arguments[0].getBoundingClientRect();
                    return document.elementFromPoint(left + width / 2, top + height / 2) !== arguments[0];""", slider)
                self.assertFalse(covered)
                self.assertTrue(self.browser.execute_script(inside, self.all(".selected .picture")))

    def test_what_hinders_the_exposure_is_said(self):
        self.tab("Exposure")
        self.program.run("scene 0 0.01")
        self.eventually(lambda: "at its limit" in self.one(".camera .figures").text)
        self.program.run("scene 0 100")
        self.eventually(lambda: "at its limit" not in self.one(".camera .figures").text)
        for camera, note in ((0, "Follows camera 1."), (2, "No camera is followed here")):
            self.browser.find_element(By.XPATH, f"//button[text()='Camera {camera}']").click()
            self.choose("smart")
            self.eventually(lambda: note in self.note("exposure_mode"))
        self.program.run("set 2 exposure_mode auto")
        self.eventually(lambda: not self.note("exposure_mode"))

    def test_what_the_page_changes_is_taken_back_by_its_name(self):
        self.tab("Image")
        undo = self.one("#undo")
        self.slider("hue").send_keys(Keys.ARROW_RIGHT * 3)
        self.eventually(lambda: self.program.stored(0, "hue") == 10 and undo.text == "Undo camera 0: Hue")
        time.sleep(1.1)  # what follows within a second is the same change
        self.slider("hue").send_keys(Keys.END)
        self.eventually(lambda: self.program.stored(0, "hue") == 14)
        undo.click()
        self.eventually(lambda: self.slider("hue").get_property("value") == "10")
        self.slider("hue").send_keys(Keys.CONTROL + "z")
        self.eventually(lambda: self.slider("hue").get_property("value") == "7")
        self.choose("food")
        self.eventually(lambda: self.program.stored(0, "style") == 13 and undo.text == "Undo camera 0: Image style")
        self.one("#reset").click()
        self.eventually(lambda: not self.all(".page:not([hidden]) .row.changed"))
        self.choose("bt709 limited")
        self.eventually(lambda: "16" in self.program.run("block 0 csm y_offset"))
        self.browser.refresh()
        self.eventually(lambda: len(self.all(".camera")) == 4)
        self.tab("Image")
        self.eventually(lambda: self.one("[data-setting=csc_mode] input:checked + label").text == "bt709 limited")

    def test_files_and_looks_come_and_go(self):
        self.one("#command").send_keys("render 0 view.png\n")
        self.eventually(lambda: self.browser.execute_script(
            "return document.querySelector('#log-lines img.written')?.naturalWidth > 600"))
        with urllib.request.urlopen(self.one("#log-lines a.written").get_attribute("href")) as answer:
            self.assertEqual(answer.read(4), b"\x89PNG")
        self.tab("Tools")
        self.program.run("set 0 hue 12")
        self.one("input[placeholder=name]").send_keys("warm")
        self.browser.find_element(By.XPATH, "//button[text()='Keep']").click()
        self.eventually(lambda: "wrote warm.look" in self.one(".page:not([hidden])").text)
        self.program.run("reset 0")
        self.one("input[placeholder=name]").click()
        self.browser.find_element(By.XPATH, "//button[text()='Keep']/../button[text()='Apply']").click()
        self.eventually(lambda: self.program.stored(0, "hue") == 12)
        self.eventually(lambda: self.browser.execute_script("return document.querySelector('option[value=warm]')"))
        record = os.path.join(self.folders[1].name, "look.json")
        with open(record, "w", encoding="ascii") as file:
            json.dump({"settings": {"hue": 3, "gamma": 2}}, file)
        self.one("input[accept='.json']").send_keys(record)
        self.eventually(lambda: (self.program.stored(0, "hue"), self.program.stored(0, "gamma")) == (3, 2))
        self.tab("Scene")
        self.one("input[accept*=png]").send_keys(os.path.realpath(DEMO + "/../../../docs/pictures/gamma.jpg"))
        self.eventually(lambda: "gamma.jpg" in self.program.request("GET", "api/state")["cameras"][0]["scene"])
        self.program.run("scene 0 stage")

    def test_a_rectangle_is_measured_and_a_row_of_a_sweep_sets_the_camera(self):
        cells = lambda: [cell.text for cell in self.all("#measure-card .measure td")]
        self.one("#measuring").click()
        self.eventually(lambda: re.fullmatch(r"\d+\.\d", cells()[0] or ""))
        place = self.one("#measure-card .name")
        before = place.text
        place.send_keys(Keys.ARROW_RIGHT)
        place.send_keys(Keys.SHIFT + Keys.ARROW_DOWN)
        self.eventually(lambda: place.text != before)
        frame = self.one(".camera.selected .frame")
        drag = webdriver.ActionChains(self.browser).move_to_element_with_offset(frame, -60, -40).click_and_hold()
        drag.move_to_element_with_offset(frame, 60, 40).release().perform()
        x, y, width, height = (int(word) for word in place.text.split())
        self.assertGreater(min(width, height), 20)
        figures = self.program.request("GET", f"api/cameras/0/measure?x={x}&y={y}&w={width}&h={height}")
        self.eventually(lambda: abs(figures["luma"] - float(cells()[6])) < 4)
        self.assertRegex(self.one("#measure-card output").text, r"^\d+ \d+: \d+ \d+ \d+$")
        self.assertEqual(self.all(".camera.large"), [])
        values = self.one("#measure-card input")
        self.expected = "status of 400"
        values.send_keys("nosuch 1" + Keys.ENTER)
        self.eventually(lambda: "nosuch" in self.one("#measure-card caption").text)
        values.clear()
        values.send_keys("hue 3,12 gamma 0.45,0.63" + Keys.ENTER)
        self.eventually(lambda: len(self.all("#measure-card .sweep tr")) == 5)
        self.assertEqual(self.program.stored(0, "hue"), 7)
        self.browser.execute_script("arguments[0].click()", self.all("#measure-card .sweep td button")[-1])
        self.eventually(lambda: self.program.stored(0, "hue") == 12 and self.program.stored(0, "gamma") == 4)
        self.one("#measuring").click()
        self.assertFalse(self.one("#measure-card").is_displayed())

    def test_a_page_without_its_program_says_so(self):
        program = Program(tempfile.mkdtemp(dir=self.folders[0].name))
        self.expected = program.url
        self.browser.get(program.url)
        self.eventually(lambda: len(self.all(".camera")) == 4)
        program.type("quit")
        self.assertEqual(program.process.wait(20), 0)
        self.eventually(lambda: self.one("#connection").text == "no connection")
        self.assertLess(float(self.one(".picture").value_of_css_property("opacity")), 0.5)
        self.tab("Image")
        self.slider("hue").send_keys(Keys.END)
        self.eventually(lambda: self.note("hue") == "isp-sim does not answer.")

    def test_one_push_shows_its_progress(self):
        self.tab("White balance")
        self.choose("onepush")
        self.eventually(lambda: "unused" not in self.row("wb_mode_onepush").get_attribute("class"))
        self.row("wb_mode_onepush").find_element(By.TAG_NAME, "button").click()
        progress = self.row("wb_mode_onepush").find_element(By.TAG_NAME, "progress")
        self.eventually(lambda: float(progress.get_property("value")) > 0.3)
        self.eventually(lambda: not progress.is_displayed())

    def test_every_control_has_a_name_and_fits_every_window(self):
        for line in ("set 0 meter center", "set 0 saturation 9", "set 0 drc 3", "scene 0 300", "scene 0 40 6s"):
            self.program.type(line)  # something for plots and controls to show
            time.sleep(2)
        time.sleep(4)
        self.size(1280, 1140)
        self.tab("Image")
        time.sleep(1)
        self.save("live")
        for width, height, scale in ((1280, 800, 1), (390, 844, 2)):
            self.size(width, height, scale)
            time.sleep(0.5)
            for text in ("Exposure", "White balance", "Image", "Scene", "Tools"):
                self.tab(text)
                nameless = self.browser.execute_script("""
                    return [...document.querySelectorAll('button, input, select, canvas')].filter((node) =>
                        node.checkVisibility() && !node.ariaHidden && !(node.labels?.length || node.ariaLabel || node.textContent.trim()))
                        .filter((node) => !node.closest('.uplot')).map((node) => node.outerHTML);""")
                self.assertEqual(nameless, [])
                self.assertLessEqual(self.browser.execute_script("return document.documentElement.scrollWidth"), width)
        self.tab("Exposure")
        self.save("live-phone")


class Serving(unittest.TestCase):
    def test_without_a_terminal_it_serves_until_a_signal_and_keeps_the_settings(self):
        for end in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(end), tempfile.TemporaryDirectory() as folder:
                process = subprocess.Popen([PROGRAM, "--state", folder, "--serve", "127.0.0.1:0"], text=True,
                                           stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
                url = process.stdout.readline().strip()
                request = urllib.request.Request(url + "api/cameras/2/settings/hue", b'{"value": 11}',
                                                 {"Content-Type": "application/json"}, method="PUT")
                self.assertEqual(json.load(urllib.request.urlopen(request))["stored"], 11)
                with urllib.request.urlopen(url + "api/events") as events:  # a page that stays
                    events.readline()
                    process.send_signal(end)
                    self.assertEqual(process.wait(10), 0)
                process.stdout.close()
                with open(folder + "/settings.ini", encoding="ascii") as settings:
                    self.assertRegex(settings.read(), "hue *= *11")

    def test_an_address_that_cannot_be_had_is_said_in_one_line(self):
        for address in ("x", "127.0.0.1:65536", "192.0.2.1:0"):
            with self.subTest(address), tempfile.TemporaryDirectory() as folder:
                done = subprocess.run([PROGRAM, "--state", folder, "--serve", address], text=True, capture_output=True,
                                      stdin=subprocess.DEVNULL, timeout=20, check=False)
                self.assertEqual(done.returncode, 1)
                self.assertRegex(done.stderr, r"\A[^\n]+\n\Z")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=2)
