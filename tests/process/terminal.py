"""The terminal cases of terminal.sh; arguments: qvassistant, qvctl, completion."""
import atexit, fcntl, os, pty, re, select, signal, struct, subprocess, sys, termios, time

# A checkout in the old /tmp is reached through descriptor 9 (see common.sh), which children do not inherit.
assistant, qvctl, completion = (arg.replace("/proc/self/", f"/proc/{os.getpid()}/", 1) for arg in sys.argv[1:4])
os.makedirs("/tmp/w/sub")
open("/tmp/w/a file.bin", "w").close()
# A source that keeps growing while it is copied, so that a copy runs until it is stopped.
with open("/tmp/w/big.bin", "wb") as source:
    source.write(os.urandom(1 << 20))
atexit.register(subprocess.Popen(["bash", "-c", "while :; do head -c 65536 /dev/zero; sleep 0.01; done >>/tmp/w/big.bin"]).kill)
copy = "copy /tmp/w/big.bin /tmp/w out.bin"


class Terminal:  # a program on a pseudo-terminal of its own, with a fresh assistant unless told otherwise
    assistant = None

    def __init__(self, argv, columns=80, fresh_assistant=True, **env):
        if fresh_assistant:
            if Terminal.assistant:  # the one before ends with its peer, and takes its socket file along
                Terminal.assistant.wait(10)
            Terminal.assistant = subprocess.Popen([assistant], stderr=subprocess.DEVNULL)
            while not os.path.exists("/tmp/qvipc"):
                time.sleep(0.05)
        self.pid, self.fd = pty.fork()
        if self.pid == 0:
            os.chdir("/tmp/w")
            os.execve(argv[0], argv, {"PATH": os.environ["PATH"], "HOME": "/tmp", "TERM": "xterm",
                                      "XDG_STATE_HOME": "/tmp/state", **env})
        self.resize(columns)
        self.pending = b""

    def resize(self, columns):
        fcntl.ioctl(self.fd, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))

    def type(self, keys, then):  # what comes up to and with `then`; the rest waits
        os.write(self.fd, keys)
        output, end = self.pending, time.time() + 10
        while then not in output:
            if time.time() > end or not select.select([self.fd], [], [], end - time.time())[0]:
                sys.exit(f"FAILED: no {then!r} in {output!r}")
            try:
                output += os.read(self.fd, 65536)
            except OSError:
                sys.exit(f"FAILED: ended before {then!r}: {output!r}")
        cut = output.index(then) + len(then)
        output, self.pending = output[:cut], output[cut:]
        return output

    def end(self):  # the exit status, and what is left unread
        status = os.waitpid(self.pid, 0)[1]
        try:
            return status, self.pending + os.read(self.fd, 65536)
        except OSError:  # no writer left, and nothing unread
            return status, self.pending


# A session: Ctrl-C clears the line and no more; a copy's bar is drawn above the
# prompt; a command typed meanwhile is said to wait behind it; SIGTERM aborts
# the copy, whose status is the session's; no prompt after quit.
session = Terminal([qvctl, "session"])
session.type(b"", b"qvctl> ")
session.type(b"stat", b"stat")
session.type(b"\x03", b"^C\r\n")
session.type(b"", b"qvctl> ")
session.type(b"status\r", b"Status: Ready\r\n")
session.type(copy.encode() + b"\r", b"\x1b[A\r[")
session.type(b"status\r", b"qvctl: queued behind the copy")
os.kill(session.pid, signal.SIGTERM)
output = session.type(b"", b"Aborted after")
session.type(b"", b"Status: Ready\r\n")
session.type(b"quit\r", b"quit\r\n")
end = session.end()
assert b"Response: CopyFile" not in output and end == (6 << 8, b""), f"raw reports, or the end {end}"
assert not os.path.exists("/tmp/w/out.bin"), "the aborted copy stays"

# The history of the session before; Ctrl-D leaves.
session = Terminal([qvctl, "session"])
session.type(b"", b"qvctl> ")
session.type(b"\x1b[A", b"quit")
session.type(b"\x15\x04", b"\n")
assert session.end()[0] == 0, "the second session's end"

# A one-shot copy on a dumb terminal: no escape codes, and a bar that fits a
# narrowed terminal at once, drawn again from the same report, with blanks over
# the longer line; Ctrl-C aborts, a second one leaves the partial file and says so.
one = Terminal([qvctl] + copy.split(), columns=100, TERM="dumb")
wide = one.type(b"", b" left")
one.resize(60)
line = one.type(b"", b"\r") and one.type(b"", b" left")
blanks = one.type(b"", b"\r")  # up to the next report's line
output = wide + line + blanks + one.type(b"\x03", b"aborting the copy") + one.type(b"\x03", b"stays")
rate = re.compile(rb"[\d.]+ [KMG]iB/s")
assert len(line) < 60 and b" of " not in line and rate.findall(line) == rate.findall(wide)[-1:], output
assert blanks == b" " * (len(wide.rsplit(b"\r", 1)[1]) - len(line)) + b"\r", "blanks cover the longer line before"
assert b"\x1b" not in output and b"the partial file /tmp/w/out.bin stays" in output, output
assert os.WIFSIGNALED(one.end()[0]), "a second Ctrl-C ends qvctl by its signal"

# Completion: commands, each command's own options, files where they go: a name
# with a blank is one word, a folder ends in a slash.
shell = Terminal(["/bin/bash", "--norc", "--noprofile", "-i"], fresh_assistant=False, PS1="$ ")
shell.type(f"source {completion}\r".encode(), b"$ ")
for typed, shown in [(b"hel", b"help "), (b"--j", b"--json "), (b"--wait 3 copy --t", b"--wait 3 copy --total "),
                     (b"status --t", b"status --t\x07")]:
    shell.type(b"\x15qvctl " + typed + b"\t", b"qvctl " + shown)
shell.type(b"\x15qvctl copy a\t", b"qvctl copy a\\ file.bin ")
shell.type(b"\x15qvctl copy x s\t", b"qvctl copy x sub/")
shell.type(b"\x15exit\r", b"exit")
shell.end()
print("terminal tests passed")
