"""A headless browser, driven over a pair of pipes: nothing but Python and Chromium is needed."""

import base64
import json
import os
import select
import shutil
import subprocess
import tempfile
import time

NAMES = ("chromium", "chromium-browser", "google-chrome")
# Everything is drawn by the processor: the same picture on every machine, with or without a display.
OPTIONS = ("--headless=new", "--no-sandbox", "--use-gl=angle", "--use-angle=swiftshader",
           "--enable-unsafe-swiftshader", "--hide-scrollbars", "--disable-extensions",
           "--disable-background-networking", "--disable-component-update", "--no-first-run",
           "--mute-audio", "--remote-debugging-pipe")
PATIENCE = 120.0  # seconds
KEY_CODES = {"Tab": 9, " ": 32, "End": 35, "Home": 36, "ArrowLeft": 37, "ArrowUp": 38,
             "ArrowRight": 39, "ArrowDown": 40}


def find():
    """The program; None where there is none."""
    return next((path for path in map(shutil.which, NAMES) if path), None)


class Browser:
    """One page in a browser of its own, which ends with its scope."""

    def __init__(self, width=1000, height=900, options=()):
        self.events = []
        self.number = 0
        self.rest = b""
        self.profile = tempfile.TemporaryDirectory()
        to_browser, self.out = os.pipe()
        self.into, from_browser = os.pipe()
        # The browser reads from 3 and writes to 4; the shell puts the pipes there.
        command = [find(), *OPTIONS, *options, f"--user-data-dir={self.profile.name}",
                   "about:blank"]
        self.process = subprocess.Popen(
            ["/bin/sh", "-c", f'exec "$@" 3<&{to_browser} 4>&{from_browser}', "sh", *command],
            pass_fds=(to_browser, from_browser), stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        os.close(to_browser)
        os.close(from_browser)
        self.session = None
        target = self.send("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.send("Target.attachToTarget", targetId=target,
                                 flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Network", "Log"):
            self.send(domain + ".enable")
        self.resize(width, height)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()
        os.close(self.out)
        os.close(self.into)
        for _ in range(20):  # helpers of the browser may still be writing there
            try:
                self.profile.cleanup()
                return
            except OSError:
                time.sleep(0.1)

    def read(self):
        """The next message of the browser."""
        end = time.monotonic() + PATIENCE
        while b"\0" not in self.rest:
            ready, _, _ = select.select([self.into], [], [], max(0.0, end - time.monotonic()))
            block = os.read(self.into, 1 << 20) if ready else b""
            if not block:
                raise RuntimeError("the browser does not answer")
            self.rest += block
        message, self.rest = self.rest.split(b"\0", 1)
        return json.loads(message)

    def send(self, method, **values):
        """Gives a command and waits for what it returns."""
        self.number += 1
        message = {"id": self.number, "method": method, "params": values}
        if self.session:
            message["sessionId"] = self.session
        data = json.dumps(message).encode() + b"\0"
        while data:
            data = data[os.write(self.out, data):]
        while True:
            answer = self.read()
            if answer.get("id") == self.number:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']['message']}")
                return answer["result"]
            self.events.append(answer)

    def evaluate(self, expression):
        """The value of an expression in the page; a promise is waited for."""
        answer = self.send("Runtime.evaluate", expression=expression, returnByValue=True,
                           awaitPromise=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(f"{expression}: {answer['exceptionDetails']}")
        return answer["result"].get("value")

    def resize(self, width, height):
        self.send("Emulation.setDeviceMetricsOverride", width=width, height=height,
                  deviceScaleFactor=1, mobile=False)

    def prefer(self, **features):
        """Preferences of the user, such as prefers_color_scheme="dark"."""
        self.send("Emulation.setEmulatedMedia",
                  features=[{"name": name.replace("_", "-"), "value": value}
                            for name, value in features.items()])

    def open(self, path):
        self.send("Page.navigate", url="file://" + os.path.abspath(path))
        self.wait("document.readyState === 'complete'")

    def wait(self, condition):
        """Until an expression in the page is true."""
        end = time.monotonic() + PATIENCE
        while not self.evaluate(condition):
            if time.monotonic() > end:
                raise RuntimeError("not within the time: " + condition)
            time.sleep(0.02)

    def press(self, key, shift=False, text=""):
        for kind in ("keyDown", "keyUp"):
            self.send("Input.dispatchKeyEvent", type=kind, key=key, code=key,
                      windowsVirtualKeyCode=KEY_CODES.get(key, ord(key[0].upper())),
                      modifiers=8 if shift else 0, text=text if kind == "keyDown" else "")

    def drag(self, begin, end):
        """The left button of the mouse, from one place of the window to another."""
        self.send("Input.dispatchMouseEvent", type="mousePressed", x=begin[0], y=begin[1],
                  button="left", buttons=1, clickCount=1)
        self.send("Input.dispatchMouseEvent", type="mouseMoved", x=end[0], y=end[1],
                  button="left", buttons=1)
        self.send("Input.dispatchMouseEvent", type="mouseReleased", x=end[0], y=end[1],
                  button="left", clickCount=1)

    def settle(self):
        """Waits for two drawings of the window."""
        self.evaluate("new Promise(done => requestAnimationFrame(() => "
                      "requestAnimationFrame(() => done(true))))")

    def picture(self, selector=None, whole=False):
        """What is seen, as PNG: of the window, of all of the page, or of one element."""
        self.settle()
        values = {}
        if selector:
            box = self.evaluate(
                f"(() => {{ const b = document.querySelector({json.dumps(selector)})"
                ".getBoundingClientRect(); return {x: b.x + scrollX, y: b.y + scrollY, "
                "width: b.width, height: b.height}; })()")
            values["clip"] = {**box, "scale": 1}
        answer = self.send("Page.captureScreenshot", format="png",
                           captureBeyondViewport=bool(selector) or whole, **values)
        return base64.b64decode(answer["data"])

    def complaints(self):
        """What the console was told of errors, and every request for what is not in the page."""
        self.evaluate("1")
        found = []
        for event in self.events:
            values = event.get("params", {})
            if event.get("method") == "Runtime.exceptionThrown":
                found.append(str(values["exceptionDetails"]))
            elif event.get("method") == "Log.entryAdded":
                if values["entry"]["level"] in ("error", "warning"):
                    found.append(values["entry"]["text"])
            elif event.get("method") == "Runtime.consoleAPICalled":
                if values["type"] in ("error", "warning", "assert"):
                    found.append(str(values["args"]))
            elif event.get("method") == "Network.requestWillBeSent":
                url = values["request"]["url"]
                if not url.startswith(("data:", "blob:")) and url != values["documentURL"]:
                    found.append("request: " + url[:200])
        return found
