#!/usr/bin/env python3
"""Opens a report page in a headless browser and uses it as a person would.

    report_page.py VELD              the checks; 77 is the exit status where there is no browser
    report_page.py VELD --measure    prints how long a page with a million faces takes to load
"""

import os
import struct
import subprocess
import sys
import tempfile
import zlib

import browser
import runs

SKIPPED = 77
STATE = "document.getElementById('view-part')?.dataset.state"


def pixels(picture):
    """The pixels of a PNG of the browser, as a list of rows of (r, g, b)."""
    at, data, width, height, channels = 8, b"", 0, 0, 3
    while at < len(picture):
        size, kind = struct.unpack(">I4s", picture[at:at + 8])
        block = picture[at + 8:at + 8 + size]
        if kind == b"IHDR":
            width, height, _, colour = struct.unpack(">IIBB", block[:10])
            channels = 4 if colour == 6 else 3
        elif kind == b"IDAT":
            data += block
        at += size + 12
    raw, stride = zlib.decompress(data), width * channels
    before, rows = bytearray(stride), []
    for y in range(height):
        kind = raw[y * (stride + 1)]
        row = bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for i in range(stride):
            left = row[i - channels] if i >= channels else 0
            above = before[i]
            corner = before[i - channels] if i >= channels else 0
            if kind == 1:
                row[i] = (row[i] + left) & 255
            elif kind == 2:
                row[i] = (row[i] + above) & 255
            elif kind == 3:
                row[i] = (row[i] + (left + above) // 2) & 255
            elif kind == 4:
                guess = left + above - corner
                nearest = min((abs(guess - left), 0, left), (abs(guess - above), 1, above),
                              (abs(guess - corner), 2, corner))[2]
                row[i] = (row[i] + nearest) & 255
        rows.append([tuple(row[i:i + 3]) for i in range(0, stride, channels)])
        before = row
    return rows


class Checks:
    """Counts what does not hold."""

    def __init__(self):
        self.failures = 0

    def expect(self, holds, what):
        if not holds:
            self.failures += 1
            print("FAILED:", what)


def make_page(veld, directory, n=60):
    runs.write_run(directory, n)
    subprocess.run([veld, "report", directory, "--quiet"], check=True)
    return os.path.join(directory, "report.html")


def open_page(page, path):
    page.open(path)
    page.wait(STATE + " === 'complete' || " + STATE + " === 'failed'")


def share_of(picture, is_it):
    colours = [colour for row in pixels(picture) for colour in row]
    return sum(map(is_it, colours)) / len(colours)


def difference(one, other):
    """The share of the pixels that differ between two pictures."""
    pairs = [pair for rows in zip(pixels(one), pixels(other)) for pair in zip(*rows)]
    return sum(a != b for a, b in pairs) / len(pairs)


def switch(page, name, on):
    page.evaluate(f"(() => {{ const b = document.getElementById('{name}'); "
                  f"if (b.checked !== {str(on).lower()}) b.click(); }})()")


def check_picture(page, checks):
    """Something is drawn, in the colours that it should have."""
    view = page.picture("#view")
    ground = pixels(view)[3][3]
    drawn = share_of(view, lambda colour: colour != ground)
    checks.expect(0.1 < drawn < 0.9, f"the model covers a part of the view, not {drawn:.2f}")
    checks.expect(share_of(view, lambda c: c[0] > 150 and c[1] < 70 and c[2] < 90) > 1e-4,
                  "borders are red")
    page.evaluate("document.getElementById('divider').value = 0; "
                  "document.getElementById('divider').dispatchEvent(new Event('input'))")
    textured = page.picture("#view")
    checks.expect(share_of(textured, lambda c: c[1] > c[0] + 60 and c[1] > c[2] + 60) > 0.02,
                  "the texture is green in places")
    switch(page, "textured", False)
    marked = page.picture("#view")
    checks.expect(share_of(marked, lambda c: c[0] > c[2] + 60) > 0.005, "new faces are marked")
    switch(page, "new", False)
    checks.expect(page.picture("#view") != marked, "new faces can be left unmarked")


def check_keys(page, checks):
    """The view is reached by the keyboard and does what its keys say."""
    page.evaluate("document.activeElement.blur(); scrollTo(0, 0)")
    for _ in range(40):
        page.press("Tab")
        if page.evaluate("document.activeElement.id") == "view":
            break
    checks.expect(page.evaluate("document.activeElement.id") == "view",
                  "the view is reached with the tabulator")
    page.press("Home")
    first = page.picture("#view")
    seen = {first}
    for key, shift in (("ArrowLeft", False), ("ArrowUp", False), ("ArrowRight", True),
                       ("ArrowDown", True), ("+", False), ("-", False), ("w", False)):
        page.press(key, shift)
        picture = page.picture("#view")
        checks.expect(picture not in seen or key == "-", f"the key {key} changes the picture")
        seen.add(picture)
    page.press("w")
    page.press("Home")
    checks.expect(page.picture("#view") == first, "the key Home leads back")


def check_mouse_and_buttons(page, checks):
    first = page.picture("#view")
    box = page.evaluate("(() => { const v = document.getElementById('view'); v.scrollIntoView(); "
                        "const b = v.getBoundingClientRect(); return [b.x, b.y]; })()")
    page.drag((box[0] + 200, box[1] + 200), (box[0] + 300, box[1] + 230))
    checks.expect(page.picture("#view") != first, "the mouse turns the model")
    for name in ("turn-left", "turn-right", "turn-up", "turn-down", "zoom-in", "zoom-out",
                 "pan-left", "pan-right", "pan-up", "pan-down", "reset"):
        before = page.picture("#view")
        page.evaluate(f"document.getElementById('{name}').click()")
        checks.expect(page.picture("#view") != before, f"the button {name} changes the picture")
    checks.expect(page.picture("#view") == first, "the button reset leads back")


def check_sliders(page, checks):
    """By the keys that sliders have."""
    pictures = []
    page.evaluate("document.getElementById('divider').focus()")
    for key in ("Home", "ArrowRight", "End"):
        page.press(key)
        pictures.append(page.picture("#view"))
    checks.expect(page.evaluate("document.getElementById('divider').value") == "100",
                  "the divider has been moved to its end")
    checks.expect(len(set(pictures)) == 3, "the divider changes the picture")
    checks.expect(page.evaluate("document.getElementById('section-place').disabled && "
                                "document.getElementById('section-value').textContent === ''"),
                  "without a section its place is no matter")
    page.evaluate("(() => { const a = document.getElementById('section-axis'); a.value = 'x'; "
                  "a.dispatchEvent(new Event('change')); "
                  "document.getElementById('section-place').focus(); })()")
    cuts = [page.picture("#view")]
    for key in ("ArrowRight", "Home", "End"):
        page.press(key)
        cuts.append(page.picture("#view"))
    checks.expect(len({pictures[-1], *cuts[:3]}) == 4, "the section changes the picture")
    checks.expect(difference(cuts[3], pictures[-1]) < 0.005 < difference(cuts[0], pictures[-1]),
                  "a section in the middle cuts much away, and at the end nothing")
    checks.expect(page.evaluate("document.getElementById('section-value').textContent") ==
                  "x = 50.0 mm", "the section says where it is")


def check_looks(page, checks):
    light = page.picture()
    page.prefer(prefers_color_scheme="dark")
    dark = page.picture()
    checks.expect(sum(pixels(light)[5][5]) > 600 > 300 > sum(pixels(dark)[5][5]),
                  "the page is dark where that is preferred")
    for width in (320, 400, 1400):
        page.resize(width, 900)
        page.settle()
        checks.expect(page.evaluate("document.documentElement.scrollWidth") <= width,
                      f"nothing sticks out of a window of {width} pixels")


def check_policy(page, checks):
    """What the page forbids itself."""
    page.evaluate("window.refused = []; addEventListener('securitypolicyviolation', "
                  "event => refused.push(event.violatedDirective))")
    answer = page.evaluate("fetch('http://127.0.0.1:9/').then(() => 'sent', () => 'refused')")
    checks.expect(answer == "refused" and "connect-src" in page.evaluate("refused"),
                  "requests are refused by the page itself")
    page.evaluate("(() => { const s = document.createElement('script'); s.textContent = "
                  "'window.injected = 1'; document.body.append(s); })()")
    checks.expect(page.evaluate("window.injected") is None, "no other script runs")


def check_without_webgl(path, checks):
    with browser.Browser(options=("--disable-3d-apis",)) as page:
        open_page(page, path)
        checks.expect(page.evaluate(STATE) == "failed", "without WebGL there is no view")
        checks.expect(page.evaluate("document.querySelector('.view-missing').offsetHeight > 0"),
                      "a line says that there is no view")
        checks.expect(page.evaluate("document.querySelector('.stage').offsetHeight") == 0,
                      "no empty frame stands in its place")
        checks.expect(page.evaluate("document.querySelector('img').naturalWidth") == 40,
                      "pictures are there")


def check_page(veld):
    checks = Checks()
    with tempfile.TemporaryDirectory() as directory:
        path = make_page(veld, directory)
        with browser.Browser() as page:
            open_page(page, path)
            checks.expect(page.evaluate(STATE) == "complete", "the view is there: " + str(
                page.evaluate("document.getElementById('view-reason').textContent")))
            check_picture(page, checks)
            check_keys(page, checks)
            check_mouse_and_buttons(page, checks)
            check_sliders(page, checks)
            check_looks(page, checks)
            complaints = page.complaints()
            checks.expect(not complaints, f"the console stays empty: {complaints}")
            check_policy(page, checks)
        check_without_webgl(path, checks)
    return 1 if checks.failures else 0


def measure(veld):
    with tempfile.TemporaryDirectory() as directory:
        path = make_page(veld, directory, 708)
        print(f"page: {os.path.getsize(path) / 1e6:.1f} MB")
        for _ in range(5):
            with browser.Browser() as page:
                open_page(page, path)
                times = page.evaluate("performance.getEntriesByType('mark')"
                                      ".map(m => m.name + ' ' + Math.round(m.startTime) + ' ms')")
                print("; ".join(times))
    return 0


def main():
    if browser.find() is None:
        print("no Chromium here: skipped")
        return SKIPPED
    veld = os.path.abspath(sys.argv[1])
    return measure(veld) if "--measure" in sys.argv else check_page(veld)


if __name__ == "__main__":
    sys.exit(main())
