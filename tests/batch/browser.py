# (c) the ztrace developers. Licence: see LICENSE.
"""A headless chromium, spoken to over two pipes by its own protocol."""
import base64
import json
import os
import select
import shutil
import subprocess
import time

CHROMIUM = shutil.which("chromium")


class Browser:
    def __init__(self, profile):
        to_browser, self.output = os.pipe()
        self.input, from_browser = os.pipe()

        def pipes():
            os.dup2(to_browser, 100)
            os.dup2(from_browser, 101)
            os.dup2(100, 3)
            os.dup2(101, 4)
        self.process = subprocess.Popen(
            [CHROMIUM, "--headless=new", "--remote-debugging-pipe", "--no-sandbox", "--disable-gpu", "--no-first-run",
             "--disable-dev-shm-usage", "--user-data-dir=" + profile, "about:blank"],
            preexec_fn=pipes, close_fds=False, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        os.close(to_browser)
        os.close(from_browser)
        self.received = b""
        self.number = 0
        self.session = None
        self.events = []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in "Page", "Runtime", "Network", "Log":
            self.call(domain + ".enable")

    def close(self):
        self.process.kill()
        self.process.wait()
        os.close(self.output)
        os.close(self.input)

    def call(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.output, json.dumps(message).encode() + b"\0")
        deadline = time.monotonic() + 120
        while True:
            answer = self.read(deadline)
            if answer.get("id") == self.number:
                if "error" in answer:
                    raise RuntimeError("%s: %s" % (method, answer["error"]))
                return answer["result"]
            self.events.append(answer)

    def read(self, deadline):
        while b"\0" not in self.received:
            if not select.select([self.input], [], [], max(0, deadline - time.monotonic()))[0]:
                raise RuntimeError("the browser does not answer")
            part = os.read(self.input, 1 << 20)
            if not part:
                raise RuntimeError("the browser has ended")
            self.received += part
        text, _, self.received = self.received.partition(b"\0")
        return json.loads(text)

    def open(self, url, width, height=900):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)
        self.call("Page.navigate", url=url)
        for _ in range(600):
            if self.evaluate("document.readyState") == "complete":
                break
            time.sleep(0.05)
        self.settle()

    def evaluate(self, expression):
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise RuntimeError(result["exceptionDetails"])
        return result["result"].get("value")

    def settle(self):
        self.evaluate("new Promise(done => requestAnimationFrame(() => requestAnimationFrame(() => setTimeout(done, 50))))")

    def click(self, selector):
        x, y = self.evaluate("(() => { const e = document.querySelector(%s); e.scrollIntoView({block: 'center'});"
                             "const b = e.getBoundingClientRect(); return [b.x + b.width / 2, b.y + b.height / 2]; })()"
                             % json.dumps(selector))
        for kind in "mousePressed", "mouseReleased":
            self.call("Input.dispatchMouseEvent", type=kind, x=x, y=y, button="left", clickCount=1)
        self.settle()

    def key(self, key, code=None, text=None, number=0):
        for kind in "keyDown", "keyUp":
            self.call("Input.dispatchKeyEvent", type=kind, key=key, code=code or key, windowsVirtualKeyCode=number,
                      **({"text": text} if text and kind == "keyDown" else {}))
        self.settle()

    def choose(self, selector, value):
        self.evaluate("(() => { const e = document.querySelector(%s); e.value = %s;"
                      "e.dispatchEvent(new Event('input', {bubbles: true})); })()"
                      % (json.dumps(selector), json.dumps(value)))
        self.settle()

    def screenshot(self):
        return base64.b64decode(self.call("Page.captureScreenshot", format="png")["data"])

    def pdf(self):
        """What a printer would get, A4."""
        return base64.b64decode(self.call("Page.printToPDF", printBackground=True, paperWidth=8.27, paperHeight=11.69)["data"])

    def complaints(self):
        """What the page has thrown or logged, and everything that it asked for but itself."""
        found = []
        for event in self.events:
            name = event.get("method")
            if name in ("Runtime.exceptionThrown", "Log.entryAdded", "Runtime.consoleAPICalled"):
                found.append(event["params"])
            if name == "Network.requestWillBeSent":
                url = event["params"]["request"]["url"]
                if not url.startswith(("data:", "file:")) or not url.split("?")[0].endswith((".html",)) and not url.startswith("data:"):
                    found.append(url)
        return found
