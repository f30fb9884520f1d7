"""Alerts in a window, on a screen of their own: the picture, and the ways to dismiss them.

SHOW_ALERT names the program that shows them. With PICTURES in the environment
each picture is left in that folder, as a PPM file.
"""

import os
import select
import subprocess
import unittest

from screen import PATIENCE, Screen, has_font, missing

SHOW_ALERT = os.environ["SHOW_ALERT"]
PICTURES = os.environ.get("PICTURES")

TEXT = ("Die Datei „Größenübersicht.txt“ lässt sich nicht öffnen.\n\n"
        "ファイルを開くことができませんでした。ディスクの空き容量を確認してから、もう一度やり直してください。")
TITLE = "Ärger – エラー"

ERROR, QUESTION, WARNING, NOTE = 0x10, 0x20, 0x30, 0x40
WHEEL_UP, WHEEL_DOWN = 4, 5
GROUND, FOOTER = (250, 250, 250), (234, 234, 234)
MARGIN, ICON, BUTTON = 20, 48, 60  # pixels: around all, the icon, the strip of buttons


def is_ink(pixel):
    return max(pixel) < 110


def is_red(pixel):
    return pixel[0] > 150 and max(pixel[1:]) < 90


def setUpModule():
    global screen
    if missing():
        print("skipped: not installed: " + ", ".join(missing()))
        raise unittest.SkipTest("no screen")
    screen = Screen()
    unittest.addModuleCleanup(screen.close)


class Alert:
    """An alert that is shown."""

    def __init__(self, kind, icon, title, text):
        self.program = subprocess.Popen([SHOW_ALERT, kind, str(icon), title, text], bufsize=0,
                                        env=screen.environment, stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE)
        self.await_drawing()
        self.window = screen.xdotool("getwindowfocus")[0].decode()
        self.picture = screen.picture(self.window)

    def await_drawing(self):
        """Waits until the window is drawn once more."""
        if not select.select([self.program.stdout], [], [], PATIENCE)[0]:
            self.program.kill()
        if self.program.stdout.readline() != b"drawn\n":
            raise AssertionError(f"the alert isn't drawn: {self.program.communicate()}")

    def keep(self, name):
        if PICTURES:
            self.picture.write(os.path.join(PICTURES, name + ".ppm"))

    def key(self, *keys):
        screen.xdotool("key", *keys)

    def click(self, x, y, button=1):
        screen.xdotool("mousemove", "--window", self.window, x, y, "click", button)

    def changed(self):
        """Waits until the picture changes, and returns it."""
        before = self.picture
        while self.picture == before:
            self.await_drawing()
            self.picture = screen.picture(self.window)
        return self.picture

    def changed_by(self, key):
        self.key(key)
        return self.changed()

    def end(self):
        """Waits for the dismissal, and returns the answer and the modifier keys."""
        out, err = self.program.communicate(timeout=PATIENCE)
        if err or self.program.returncode:
            raise AssertionError(f"status {self.program.returncode}: {err}")
        return tuple(map(int, out.splitlines()[-1].split()))

    def dismiss(self):
        self.key("Return")
        return self.end()


def picture_of(text):
    alert = Alert("plain", 0, "", text)
    alert.dismiss()
    return alert.picture


class Seen(unittest.TestCase):
    def test_icon_title_text_and_button_stand_in_their_places(self):
        alert = Alert("plain", ERROR, TITLE, TEXT)
        alert.keep("error")
        name = screen.xdotool("getwindowname", alert.window)
        picture = alert.picture
        self.assertEqual(alert.dismiss(), (0, 0))
        self.assertEqual(b" ".join(name).decode(), TITLE)

        left = MARGIN + ICON
        footer = picture.height - BUTTON
        self.assertGreater(picture.count(is_red, MARGIN, MARGIN, left, MARGIN + ICON), 800)
        self.assertGreater(picture.count(is_ink, left, MARGIN, None, MARGIN + 24), 200)
        self.assertGreater(picture.count(is_ink, left, MARGIN + 30, None, footer), 1500)
        self.assertGreater(picture.count(is_ink, picture.width // 2, footer), 20)
        # Lines end before the margins.
        self.assertEqual(picture.count(is_ink, right=MARGIN - 1, bottom=footer), 0)
        self.assertEqual(picture.count(is_ink, left=picture.width - MARGIN + 1, bottom=footer), 0)

    def test_each_character_is_drawn_as_itself(self):
        if not has_font("ja"):
            self.skipTest("no Japanese font is installed")
        unknown = "\ue000" * 4  # in no font: drawn as boxes
        pictures = [picture_of(text) for text in ("aaaa", "ääää", "日日日日", "本本本本", unknown)]
        for i, picture in enumerate(pictures):
            for j in range(i):
                self.assertNotEqual(picture, pictures[j], (j, i))

    def test_each_icon_is_drawn_as_itself(self):
        pictures = []
        for icon in (ERROR, QUESTION, WARNING, NOTE):
            alert = Alert("plain", icon, "", "Text")
            pictures.append(alert.picture)
            alert.dismiss()
        for i, picture in enumerate(pictures):
            self.assertNotIn(picture, pictures[:i], i)

    def test_a_hint_of_the_width_is_followed(self):
        alert = Alert("host", 4, TITLE, TEXT + " " + TEXT)
        alert.keep("note")
        wide = alert.picture.width
        alert.dismiss()
        self.assertGreater(wide, 600)
        self.assertLess(picture_of(TEXT).width, 600)

    def test_a_long_text_scrolls(self):
        alert = Alert("plain", 0, "", "\n".join(f"{number})   Zeile" for number in range(500)))
        first = alert.picture
        self.assertLess(first.height, 800)
        last = alert.changed_by("End")
        self.assertNotEqual(last, first)
        self.assertEqual(alert.changed_by("Home"), first)
        line, page = alert.changed_by("Down"), alert.changed_by("Next")
        self.assertEqual(alert.changed_by("Prior"), line)
        self.assertEqual(alert.changed_by("Up"), first)
        self.assertNotIn(page, (first, line, last))
        alert.click(MARGIN, first.height // 2, WHEEL_DOWN)
        alert.changed()
        alert.click(MARGIN, first.height // 2, WHEEL_UP)
        self.assertEqual(alert.changed(), first)
        alert.dismiss()


class Ended(unittest.TestCase):
    def test_keys_dismiss_and_tell_who_is_down(self):
        for key, modifiers in (("Return", 0), ("Escape", 0), ("KP_Enter", 0),
                               ("shift+Return", 512), ("ctrl+alt+Escape", 2048 + 4096)):
            with self.subTest(key):
                alert = Alert("plain", NOTE, "", "Text")
                alert.key("x", key)
                self.assertEqual(alert.end(), (0, modifiers))

    def test_a_click_counts_on_a_button_alone(self):
        alert = Alert("plain", NOTE, "", "Text")
        x, y = alert.picture.width - MARGIN - 40, alert.picture.height - BUTTON // 2
        alert.click(MARGIN, MARGIN)
        # A press on the button with the release outside of it.
        screen.xdotool("mousemove", "--window", alert.window, x, y, "mousedown", 1,
                       "mousemove", "--window", alert.window, MARGIN, MARGIN, "mouseup", 1)
        # The modifier key shows that this click has dismissed the alert.
        screen.xdotool("keydown", "shift")
        alert.click(x, y)
        screen.xdotool("keyup", "shift")
        self.assertEqual(alert.end(), (0, 512))

    def test_an_assertion_takes_each_answer(self):
        for keys, answer in ((["Return"], 0), (["Tab", "Return"], 1), (["Right", "space"], 1),
                             (["Tab", "Tab", "Return"], 2), (["shift+Tab", "Return"], 2),
                             (["Tab", "Escape"], 0)):
            with self.subTest(keys):
                alert = Alert("assertion", 0, "", "index < count")
                alert.keep("assertion")
                alert.key(*keys)
                self.assertEqual(alert.end(), (answer, 0))


class Without(unittest.TestCase):
    def test_a_display_the_alert_goes_to_stderr(self):
        environment = dict(screen.environment)
        for name in ("DISPLAY", "WAYLAND_DISPLAY", "SDL_VIDEODRIVER"):
            environment.pop(name, None)
        for driver in ({}, {"SDL_VIDEODRIVER": "dummy"}, {"SDL_VIDEODRIVER": "\x1b[2J"}):
            done = subprocess.run([SHOW_ALERT, "plain", "16", "Titel", "größer"], text=True,
                                  env={**environment, **driver}, capture_output=True,
                                  timeout=PATIENCE)
            self.assertEqual((done.returncode, done.stdout), (0, "0 0\n"))
            self.assertRegex(done.stderr, r"(?s)The alert has no window: .+\n.*Titel.*größer")
            self.assertNotIn("\x1b", done.stderr)


if __name__ == "__main__":
    unittest.main()
