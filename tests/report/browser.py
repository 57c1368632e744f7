"""A headless Chromium, driven through chromedriver by the W3C WebDriver protocol."""
import base64
import json
import os
import re
import shutil
import subprocess
import urllib.error
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"
KEYS = {"Enter": "\ue007", "Escape": "\ue00c", "ArrowLeft": "\ue012", "ArrowUp": "\ue013", "ArrowRight": "\ue014",
        "ArrowDown": "\ue015", "Home": "\ue011", "Tab": "\ue004"}


def missing():
    """The names of programs that are not installed."""
    return [name for name in ("chromium", "chromedriver") if shutil.which(name) is None]


class Browser:
    def __init__(self, width=1280, height=900, scratch=None):
        self.session = None
        self.driver = subprocess.Popen(["chromedriver", "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                       text=True, start_new_session=True)
        for line in self.driver.stdout:
            if found := re.search(r"started successfully on port (\d+)", line):
                break
        else:
            raise RuntimeError("chromedriver does not start")
        self.base = f"http://127.0.0.1:{found.group(1)}"
        arguments = ["--headless=new", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars",
                     "--no-first-run", f"--window-size={width},{height}",
                     "--no-sandbox"]  # it has none for root, nor in most containers; the pages are our own
        if scratch is not None:
            arguments.append(f"--user-data-dir={scratch}")
        options = {"browserName": "chrome", "goog:loggingPrefs": {"browser": "ALL"},
                   "goog:chromeOptions": {"binary": shutil.which("chromium"), "args": arguments}}
        self.session = self.post("/session", {"capabilities": {"alwaysMatch": options}})["sessionId"]

    def close(self):
        try:
            if self.session is not None:
                self.call("DELETE", f"/session/{self.session}")
        finally:
            self.driver.terminate()
            self.driver.wait()
            self.driver.stdout.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def call(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.base + path, data, {"Content-Type": "application/json"}, method=method)
        try:
            with urllib.request.build_opener(urllib.request.ProxyHandler({})).open(request, timeout=120) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as e:
            raise RuntimeError(json.load(e)["value"]["message"].split("\n")[0]) from e

    def post(self, path, body):
        return self.call("POST", path if self.session is None else f"/session/{self.session}{path}", body)

    def open(self, path):
        self.post("/url", {"url": "file://" + urllib.request.pathname2url(os.path.abspath(path))})

    def script(self, text, *arguments):
        """The value of a function body in the page."""
        return self.post("/execute/sync", {"script": text, "args": list(arguments)})

    def cdp(self, command, **parameters):
        return self.post("/goog/cdp/execute", {"cmd": command, "params": parameters})

    def resize(self, width, height):
        self.cdp("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)

    def scheme(self, name):
        self.cdp("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": name}])

    def find(self, css):
        return self.post("/element", {"using": "css selector", "value": css})[ELEMENT]

    def click(self, css):
        """As a user clicks: an element that something else covers is an error."""
        self.post(f"/element/{self.find(css)}/click", {})

    def type(self, css, text):
        self.post(f"/element/{self.find(css)}/value", {"text": text})

    def press(self, *keys):
        """To what has the focus."""
        actions = [{"type": kind, "value": KEYS.get(key, key)} for key in keys for kind in ("keyDown", "keyUp")]
        self.post("/actions", {"actions": [{"type": "key", "id": "keyboard", "actions": actions}]})

    def hover(self, css):
        origin = {ELEMENT: self.find(css)}
        self.post("/actions", {"actions": [{"type": "pointer", "id": "mouse", "parameters": {"pointerType": "mouse"},
                                            "actions": [{"type": "pointerMove", "origin": origin, "x": 0, "y": 0}]}]})

    def log(self):
        """Messages of the console, errors of the page among them, since the last call."""
        return [entry["message"] for entry in self.post("/se/log", {"type": "browser"})]

    def screenshot(self, path):
        with open(path, "wb") as f:
            f.write(base64.b64decode(self.call("GET", f"/session/{self.session}/screenshot")))
