#!/usr/bin/env python3
"""Shows what pages look like on a desktop and on a phone.

usage: screenshots.py SITE OUTPUT PAGE...

Chromium draws SITE/PAGE.html as a screen of 1280 and of 390 pixels would show it, into
OUTPUT/PAGE-WIDTH.png. A page that is wider than the screen makes it fail.
"""

import base64
import json
import os
import pathlib
import subprocess
import sys
import tempfile

WIDTHS = (1280, 390)
HEIGHT = 844
LONGEST = 16000


class Browser:
    """A Chromium without a window, told what to do through a pair of pipes."""

    def __init__(self, profile):
        to_browser, self.commands = os.pipe()
        answers, from_browser = os.pipe()
        arguments = "--headless --no-sandbox --disable-gpu --hide-scrollbars"
        # It listens at 3 and answers at 4, which may be ours.
        shell = f'exec chromium "$@" 3<&{to_browser} 4>&{from_browser}'
        self.process = subprocess.Popen(
            ["bash", "-c", shell, "chromium", *arguments.split(), "--remote-debugging-pipe"]
            + [f"--user-data-dir={profile}"],
            pass_fds=(to_browser, from_browser),
            stderr=subprocess.DEVNULL,
        )
        os.close(to_browser)
        os.close(from_browser)
        self.answers = os.fdopen(answers, "rb")
        self.buffer = b""
        self.last = 0
        self.session = None

    def receive(self):
        """The next message."""
        while b"\0" not in self.buffer:
            part = os.read(self.answers.fileno(), 1 << 16)
            if not part:
                sys.exit("screenshots.py: the browser has gone")
            self.buffer += part
        message, _, self.buffer = self.buffer.partition(b"\0")
        return json.loads(message)

    def call(self, method, until=None, **parameters):
        """Runs a command, and returns its result; waits for an event behind it, if one is named."""
        self.last += 1
        message = {"id": self.last, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.commands, json.dumps(message).encode() + b"\0")
        result, happened = None, until is None
        while result is None or not happened:
            answer = self.receive()
            if answer.get("id") == self.last:
                if "error" in answer:
                    sys.exit(f"screenshots.py: {method}: {answer['error']}")
                result = answer["result"]
            happened = happened or answer.get("method") == until
        return result

    def open(self):
        """Opens a page to work with."""
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)[
            "sessionId"
        ]
        self.call("Page.enable")

    def close(self):
        """Ends it."""
        self.session = None
        self.call("Browser.close")
        self.process.wait()

    def draw(self, path, width, output):
        """Draws a page, and returns how wide it is."""
        self.call(
            "Emulation.setDeviceMetricsOverride",
            width=width,
            height=HEIGHT,
            deviceScaleFactor=1,
            mobile=width < 800,
        )
        self.call("Page.navigate", until="Page.loadEventFired", url=path.resolve().as_uri())
        size = self.call("Page.getLayoutMetrics")["cssContentSize"]
        clip = {"x": 0, "y": 0, "scale": 1, "width": width, "height": min(size["height"], LONGEST)}
        picture = self.call("Page.captureScreenshot", captureBeyondViewport=True, clip=clip)
        output.write_bytes(base64.b64decode(picture["data"]))
        return size["width"]


def main():
    """Draws all of them."""
    if len(sys.argv) < 4:
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    site, output = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    output.mkdir(parents=True, exist_ok=True)
    wider = []
    with tempfile.TemporaryDirectory() as profile:
        browser = Browser(profile)
        browser.open()
        for page in sys.argv[3:]:
            for width in WIDTHS:
                drawn = browser.draw(site / f"{page}.html", width, output / f"{page}-{width}.png")
                if drawn > width:
                    wider.append(f"{page}.html is {drawn} pixels wide on a screen of {width}")
        browser.close()
    if wider:
        sys.exit("\n".join(wider))


if __name__ == "__main__":
    main()
