"""Runs a program and measures its process: launch.py LIMIT COMMAND...

The memory of a process counts from what its parent had at its start, so this one is small. Prints
one JSON object."""
import json
import os
import subprocess
import sys
import tempfile
import threading
import time


def main(limit, command):
    with tempfile.TemporaryFile('w+') as out, tempfile.TemporaryFile('w+') as errors:
        start = time.perf_counter()
        process = subprocess.Popen(command, stdout=out, stderr=errors)
        timer = threading.Timer(limit, process.kill)
        timer.start()
        _, status, used = os.wait4(process.pid, 0)
        timer.cancel()
        seconds = time.perf_counter() - start
        process.returncode = os.waitstatus_to_exitcode(status)
        out.seek(0)
        errors.seek(0)
        print(json.dumps({'status': process.returncode, 'in_time': seconds < limit,
                          'cores': (used.ru_utime + used.ru_stime) / seconds,
                          'peak': used.ru_maxrss / 1024, 'said': out.read(),
                          'errors': errors.read()}))


main(float(sys.argv[1]), sys.argv[2:])
