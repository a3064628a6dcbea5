#!/usr/bin/python3
"""The browser remote of the real program: its routes and refusals through a real HTTP client, then
the page in a headless Chromium at phone size, driven over the DevTools protocol: without the
token only the pairing page; with the QR code's address the devices, a tap that sends and a
keypad press that runs its monitored event; a screenshot. web_remote_test.py PROGRAM CONFIG SHOTS"""
import base64, http.client, json, os, shutil, socket, subprocess, sys, tempfile, time, urllib.request
from atspi_test import wait_for

TOKEN = "0123456789abcdef0123456789abcdef"


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def ask(port, method, path, body=None, headers=None):
    c = http.client.HTTPConnection("127.0.0.1", port, timeout=5)
    c.request(method, path, body=body, headers=headers or {})
    r = c.getresponse()
    return r.status, dict(r.getheaders()), r.read()


def routes(port, ran):
    bearer = {"Authorization": "Bearer " + TOKEN}
    send = dict(bearer, **{"Content-Type": "application/json"})
    cookie = {"Cookie": "quenix=" + TOKEN, "Content-Type": "application/json", "Host": "127.0.0.1:%d" % port}
    cases = [  # method, path, body, headers, status, text in the answer
        ("GET", "/", None, {}, 403, b"Pair first"),
        ("GET", "/?t=wrong", None, {}, 403, b"Pair first"),
        ("GET", "/", None, {"Cookie": "quenix=old"}, 403, b"Pair first"),
        ("GET", "/api/devices", None, {}, 401, b"Pair first"),
        ("GET", "/api/devices", None, {"Authorization": "Bearer nope"}, 401, b"Pair first"),
        ("POST", "/api/send", '{"device":"Application","command":"Count sent"}', {"Content-Type": "application/json"}, 401, b"Pair first"),
        ("GET", "/api/devices", None, bearer, 200, b'"name":"Application","commands":["Terminal","Chime","Count play","Count sent"]'),
        ("POST", "/api/send", '{"device":"application","command":"count sent"}', send, 200, b'{"ok":true,"text":"Count sent executed."}'),
        ("POST", "/api/send", '{"device":"Application","command":"rm -rf /"}', send, 404, b"No command"),
        ("POST", "/api/send", '{"device":"Application"', send, 400, b"Send {"),
        ("POST", "/api/send", '{"device":"Application","command":"Count sent"}', bearer, 415, b"application/json"),
        ("POST", "/api/send", '{"device":"Application","command":"Count sent"}', dict(cookie, Origin="http://evil.example"), 403, b"Another site"),
        ("GET", "/api/send", None, bearer, 405, b"not allowed"),
        ("PUT", "/", "x", bearer, 405, b"not allowed"),
        ("GET", "/telvorin.cfg", None, bearer, 404, b"Not found"),
        ("GET", "/../telvorin.cfg", None, bearer, 404, b"Not found"),
        ("GET", "/web.cfg", None, bearer, 404, b"Not found"),
        ("POST", "/api/send", "x" * 20000, send, 413, b""),
        ("GET", "/api/devices", None, dict(bearer, Filler="x" * 9000), 431, b""),
    ]
    for method, path, body, headers, status, text in cases:
        got, _, answer = ask(port, method, path, body, headers)
        assert got == status and text in answer, (method, path, status, got, answer[:200])
    wait_for(lambda: open(ran).read().split() == ["sent"], "the sent command to run once")  # started, not waited for
    status, headers, _ = ask(port, "GET", "/?t=" + TOKEN)
    assert status == 303 and headers["Location"] == "/" and "HttpOnly; SameSite=Strict" in headers["Set-Cookie"], headers
    status, headers, page = ask(port, "GET", "/", headers={"Cookie": "quenix=" + TOKEN})
    assert status == 200 and len(page) < 100 * 1024 and "default-src 'none'" in headers["Content-Security-Policy"]


def limits(port):
    statuses = [ask(port, "GET", "/api/devices")[0] for _ in range(100)]
    assert 429 in statuses and statuses[0] == 401, statuses
    held = [socket.create_connection(("127.0.0.1", port)) for _ in range(40)]
    last = held[-1]
    last.settimeout(5)
    assert last.recv(64).startswith(b"HTTP/1.1 503"), "the 40th connection from one peer was let in"
    for s in held:
        s.close()


class DevTools:
    def __init__(self, chromium, folder):
        import websocket
        profile = os.path.join(folder, "profile")
        self.proc = subprocess.Popen([chromium, "--headless=new", "--no-sandbox", "--disable-gpu", "--no-first-run",
                                      "--remote-debugging-port=0", "--user-data-dir=" + profile, "about:blank"],
                                     stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        active = os.path.join(profile, "DevToolsActivePort")
        port = wait_for(lambda: os.path.exists(active) and open(active).read().split()[0], "Chromium's DevTools port")
        targets = json.load(urllib.request.urlopen("http://127.0.0.1:%s/json/list" % port))
        page = next(t for t in targets if t["type"] == "page")
        self.ws = websocket.create_connection(page["webSocketDebuggerUrl"], suppress_origin=True, timeout=10)
        self.id = 0
        self.call("Emulation.setDeviceMetricsOverride", width=390, height=844, deviceScaleFactor=1, mobile=True)

    def call(self, method, **params):
        self.id += 1
        self.ws.send(json.dumps({"id": self.id, "method": method, "params": params}))
        while True:
            m = json.loads(self.ws.recv())
            if m.get("id") == self.id:
                assert "error" not in m, m
                return m["result"]

    def js(self, expression):
        return self.call("Runtime.evaluate", expression=expression, returnByValue=True)["result"].get("value")

    def open(self, url):
        self.call("Page.navigate", url=url)
        wait_for(lambda: self.js("document.readyState") == "complete", "the page to load")

    def tap(self, selector, hold=0.0):
        """A mouse press on the middle of an element, as a finger's pointer events arrive."""
        x, y = self.js("(r => [r.x + r.width / 2, r.y + r.height / 2])(document.querySelector(%s).getBoundingClientRect())" % json.dumps(selector))
        self.call("Input.dispatchMouseEvent", type="mousePressed", x=x, y=y, button="left", clickCount=1)
        time.sleep(hold)
        self.call("Input.dispatchMouseEvent", type="mouseReleased", x=x, y=y, button="left", clickCount=1)

    def close(self):
        self.ws.close()
        self.proc.terminate()
        self.proc.wait()


def browser(chromium, folder, port, ran, shots):
    lines = lambda: open(ran).read().split()
    b = DevTools(chromium, folder)
    try:
        b.open("http://127.0.0.1:%d/" % port)
        assert "Pair first" in b.js("document.body.innerText")
        b.open("http://127.0.0.1:%d/?t=%s" % (port, TOKEN))  # the QR code's address
        assert b.js("location.search") == ""
        wait_for(lambda: b.js("document.getElementById('link').className") == "up", "the WebSocket to open")
        b.tap("[data-key=Play]")
        wait_for(lambda: lines()[-1:] == ["play"], "Web&Play to run its event")
        wait_for(lambda: b.js("document.getElementById('lastKey').textContent") == "Web&Play", "the key to show as received")
        shot = b.call("Page.captureScreenshot", format="png")["data"]
        os.makedirs(shots, exist_ok=True)
        open(os.path.join(shots, "web_remote.png"), "wb").write(base64.b64decode(shot))
        b.tap("#tabDevices")
        names = b.js("[...document.querySelectorAll('#device option')].map(o => o.value)")
        assert "Application" in names and "Sony TV" in names, names
        b.js("(s => { s.value = 'Application'; s.dispatchEvent(new Event('change')); })(document.getElementById('device'))")
        b.tap("button[aria-label='Application Count sent']")
        wait_for(lambda: lines()[-1:] == ["sent"], "the tapped command to run")
        wait_for(lambda: "Count sent executed." in b.js("document.getElementById('result').textContent"), "the answer")
        shot = b.call("Page.captureScreenshot", format="png")["data"]
        open(os.path.join(shots, "web_remote_devices.png"), "wb").write(base64.b64decode(shot))
    finally:
        b.close()


def main(program, config, shots):
    chromium = shutil.which("chromium")
    try:
        import websocket  # noqa: F401
    except ImportError:
        chromium = None
    if not chromium:
        return print("skipped: no chromium or python3-websocket") or 77
    folder = tempfile.mkdtemp(prefix="quenix-web-")
    source, ran = os.path.dirname(program), os.path.join(folder, "ran")
    for name in (n for n in os.listdir(source) if os.path.isfile(os.path.join(source, n))):
        shutil.copy2(os.path.join(source, name), folder)
    counter = os.path.join(folder, "count.sh")
    open(counter, "w").write('#!/bin/sh\necho "$1" >> %s\n' % ran)
    os.chmod(counter, 0o755)
    open(ran, "w").close()
    text = open(config, newline="").read().replace("MONITOR= 0", "MONITOR= 1")
    text = text.replace("[Monitoring]\r\n", "%s play,Count play\r\n%s sent,Count sent\r\n[Monitoring]\r\nWeb&Play,application&Count play\r\n" % (counter, counter))
    open(os.path.join(folder, "telvorin.cfg"), "w", newline="").write(text)
    port = free_port()
    env = dict(os.environ, QT_QPA_PLATFORM="offscreen", ASAN_OPTIONS="detect_leaks=0", SDL_AUDIODRIVER="dummy",
               QUENIX_WEB="127.0.0.1:%d" % port, QUENIX_WEB_TOKEN=TOKEN, XDG_RUNTIME_DIR=folder)
    app = subprocess.Popen([os.path.join(folder, os.path.basename(program))], env=env, cwd=folder)
    try:
        def listening():
            try:
                return ask(port, "GET", "/")[0] == 403
            except OSError:
                return False
        wait_for(listening, "the web remote to listen")
        routes(port, ran)
        browser(chromium, folder, port, ran, shots)
        limits(port)
    finally:
        app.terminate()
        app.wait(timeout=10)
    shutil.rmtree(folder, ignore_errors=True)
    print("web remote: routes, refusals, page, keypad and limits pass")
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:4]))
