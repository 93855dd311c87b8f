"""What the peers in Python share: the command line, the clock and the answer.

    PEER version
    PEER WORK OUT IN... [name=value]...

prints one JSON object on the last line. What is timed is the work, without reading and writing."""
import json
import re
import resource
import sys
import time


class Clock:
    """Wall and processor time of the blocks that run under it."""

    def __init__(self):
        self.seconds = self.busy = 0.0

    @staticmethod
    def _processor():
        used = resource.getrusage(resource.RUSAGE_SELF)
        return used.ru_utime + used.ru_stime

    def __enter__(self):
        self._start = time.perf_counter(), self._processor()

    def __exit__(self, *_):
        self.seconds += time.perf_counter() - self._start[0]
        self.busy += self._processor() - self._start[1]


def value(text):
    """A number, or a list of them."""
    numbers = [float(word) if '.' in word else int(word) for word in text.split(',')]
    return numbers if ',' in text else numbers[0]


def main(name, version, works):
    """`works` has a function for each name of a work: (clock, out, inputs, **settings) -> answers."""
    if sys.argv[1:] == ['version']:
        print(json.dumps({'name': name, 'version': version}))
        return
    work, out, *words = sys.argv[1:]
    settings = [re.fullmatch(r'([a-z_]+)=([-0-9.,]+)', word) for word in words]
    inputs = [word for word, setting in zip(words, settings) if not setting]
    clock = Clock()
    answer = works[work](clock, out, inputs, **{s[1]: value(s[2]) for s in settings if s})
    print(json.dumps({'seconds': clock.seconds, 'cores': clock.busy / clock.seconds,
                      **(answer or {})}))
