# (c) the ztrace developers. Licence: see LICENSE.
"""Runs a process and tells what it used: process_usage.py SECONDS COMMAND...

Prints {"status", "seconds", "memory", "said"} as JSON: its exit status (negative for a signal, null
when it was ended after SECONDS), processor seconds, the peak of the resident set in bytes, and the
start of what it said on standard error. A program of its own and a small one, since the peak of a
process is never below that of the process that starts it.
"""
import json
import os
import signal
import sys


def spawned(command, said):
    actions = [(os.POSIX_SPAWN_OPEN, 0, os.devnull, os.O_RDONLY, 0),
               (os.POSIX_SPAWN_OPEN, 1, os.devnull, os.O_WRONLY, 0),
               (os.POSIX_SPAWN_DUP2, said, 2)]
    return os.posix_spawnp(command[0], command, os.environ, file_actions=actions)


def main():
    limit, command = int(sys.argv[1]), sys.argv[2:]
    said = os.memfd_create("said")
    try:
        child = spawned(command, said)
    except OSError as error:
        print(json.dumps({"status": 127, "seconds": None, "memory": None, "said": str(error)}))
        return
    late = []

    def end(*_):
        late.append(True)
        os.kill(child, signal.SIGKILL)

    signal.signal(signal.SIGALRM, end)
    signal.alarm(limit)
    _, status, usage = os.wait4(child, 0)
    signal.alarm(0)
    os.lseek(said, 0, os.SEEK_SET)
    print(json.dumps({"status": None if late else os.waitstatus_to_exitcode(status),
                      "seconds": usage.ru_utime + usage.ru_stime,
                      "memory": usage.ru_maxrss * 1024,
                      "said": os.read(said, 300).decode(errors="replace")}))


if __name__ == "__main__":
    main()
