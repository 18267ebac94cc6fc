#!/usr/bin/env python3
"""The console at a terminal, driven through a pseudo-terminal as a user
drives it: editing keys, history across runs, completion, Ctrl-C in a long
loop, in 10^6-digit big-number work and at the prompt, Ctrl-D, SIGHUP and SIGTERM saving the state file,
the greeting and colours; with tmux, where the line and cursor land on the
screen when the line is wider than the window.

usage: terminal_test.py PATH_TO_OSTRAVINE"""
import fcntl, os, pty, re, select, shutil, signal, struct, subprocess, sys, tempfile, termios, time

EXE = os.path.abspath(sys.argv[1])
LEFT, RIGHT, HOME, END, DEL = '\x1b[D', '\x1b[C', '\x1b[H', '\x1b[F', '\x1b[3~'
UP, DOWN, WORD_LEFT, BS, TAB = '\x1b[A', '\x1b[B', '\x1b[1;5D', '\x7f', '\t'
PASTE, PASTED = '\x1b[200~', '\x1b[201~'
C = {k: chr(ord(k) - 64) for k in 'ACDEFGKRUWY'}
failures = []


def check(ok, what):
    if not ok:
        failures.append(what)
        print('FAIL:', what)


class Console:
    def __init__(self, cwd, cols=80, env=None, prompt=b': '):
        e = dict(os.environ, TERM='xterm', NO_COLOR='1')
        e.update(env or {})
        pid, fd = pty.fork()
        if pid == 0:
            os.chdir(cwd)
            os.execve(EXE, [EXE], e)
        self.pid, self.fd, self.out, self.prompt = pid, fd, b'', prompt
        fcntl.ioctl(fd, termios.TIOCSWINSZ, struct.pack('HHHH', 24, cols, 0, 0))
        self.wait_for(prompt)

    def wait_for(self, token, start=0, timeout=20):
        end = time.monotonic() + timeout
        while token not in self.out[start:]:
            left = end - time.monotonic()
            if left <= 0 or not select.select([self.fd], [], [], left)[0]:
                raise TimeoutError(f'{token!r} not seen; output ends {self.out[-300:]!r}')
            try:
                # Bracketed paste switched on and off around each line: noise here.
                self.out = (self.out + os.read(self.fd, 65536)).replace(b'\x1b[?2004h', b'').replace(b'\x1b[?2004l', b'')
            except OSError:
                raise TimeoutError(f'{token!r} not seen before the end; output ends {self.out[-300:]!r}')
        return self.out.index(token, start)

    def send(self, keys):
        os.write(self.fd, keys.encode())

    def line(self, keys):
        """Types keys and Enter; the answer printed for the line."""
        mark = len(self.out)
        self.send(keys + '\r')
        at = self.wait_for(b'\r\n\r\n\r\n' + self.prompt, mark)
        seg = self.out[mark:at]
        return seg[seg.rindex(b'\r\n: ') + 4:].decode()

    def finish(self):
        """Reads to the end; the wait status."""
        try:
            while select.select([self.fd], [], [], 20)[0] and (chunk := os.read(self.fd, 65536)):
                self.out += chunk
        except OSError:
            pass
        os.close(self.fd)
        return os.waitpid(self.pid, 0)[1]


def piped(cwd, text):
    return subprocess.run([EXE], cwd=cwd, input=text.encode(), capture_output=True, timeout=30).stdout.decode()


def editing(d):
    c = Console(d, cols=40)
    rows = [
        ('2*3' + LEFT * 2 + '1', '63'),
        ('+1' + HOME + '5' + END + '0', '15'),
        ('999' + C['A'] + C['K'] + '7', '7'),
        ('123' + BS + LEFT + DEL, '1'),
        ('10+20+30' + WORD_LEFT + C['W'], '40'),
        ('1+2' + '\x1bb' + '3', '33'),
        ('12' + C['U'] + '3' + C['Y'], '312'),
        ('12' + LEFT + C['D'], '1'),
        ('"ab' + 'é' + 'cd"' + LEFT * 3 + BS, '"abcd"'),
        ('"x' + '中' + 'y"' + LEFT * 2 + BS + C['E'], '"xy"'),
        ('1+' * 50 + '1' + HOME + '9', '141'),
        (PASTE + '1+' * 3000 + '1' + PASTED, '3001'),
        (PASTE + '\t2+2\t' + PASTED, '4'),
    ]
    for keys, want in rows:
        got = c.line(keys)
        check(got == want, f'editing {keys[:40]!r}: {got!r}, want {want!r}')
    check(c.line('123' + C['C'] + '7') == '7', 'Ctrl-C at the prompt clears the line')
    c.send(C['D'])
    status = c.finish()
    check(os.WIFEXITED(status) and os.WEXITSTATUS(status) == 0, f'Ctrl-D ends with 0: {status}')


def history(d):
    c = Console(d)
    check(c.line('hist=41+1') == 'hist <- 41+1', 'first run')
    c.send('\r')
    c.finish()
    mode = os.stat(os.path.join(d, 'ostravine_history')).st_mode & 0o777
    check(mode == 0o600, f'history file mode {oct(mode)}')
    c = Console(d)
    check(c.line(UP) == 'hist <- 41+1', 'Up recalls the line of the last run')
    c.line('a1=1'), c.line('a2=2')
    check(c.line(UP + UP + DOWN) == 'a2 <- 2', 'Up Up Down')
    check(c.line(C['R'] + 'st=' + '\r'[:0]) == 'hist <- 41+1', 'Ctrl-R finds the older line')
    check(c.line(C['R'] + 'zzz' + C['G'] + '5') == '5', 'Ctrl-G leaves the search as it was')
    check(c.line('9' + C['R'] + 'a1' + C['C'] + '6') == '6', 'Ctrl-C leaves the search and clears')
    c.send(C['D'])
    c.finish()


def completion(d):
    c = Console(d)
    check(c.line('sq' + TAB + '16)') == '4', 'Tab completes a predefined function')
    c.line('myvar1=1'), c.line('myvar2=2'), c.line('wide(x)=x')
    mark = len(c.out)
    c.send('myv' + TAB + TAB)
    at = c.wait_for(b'myvar2', mark)
    check(b'myvar1' in c.out[mark:at], 'the second Tab lists the choices')
    check(c.line('1') == '1', 'the line goes on after the list')
    check(c.line('wid' + TAB + '3)') == '3', "a user function completes with '('")
    check(c.line('whi' + TAB + 'myvar1<0,1\x3b') == '', 'a block keyword completes with ":"')
    c.line('fo=x+1')
    mark = len(c.out)
    c.send('fo.sh' + TAB)
    c.wait_for(b'fo.shift(', mark)
    check(c.line(C['C'] + '8') == '8', 'after "." the methods of the type')
    c.send(C['D'])
    c.finish()


def interrupt(d):
    c = Console(d)
    c.line('y=5'), c.line('x=0')
    times = []
    for _ in range(3):
        mark = len(c.out)
        c.send('while:1,x=x+1;\r')
        c.wait_for(b'\r\n', mark)
        time.sleep(0.3)
        t0 = time.monotonic()
        c.send(C['C'])
        c.wait_for(b'>evaluation_aborted<', mark)
        times.append(time.monotonic() - t0)
        c.wait_for(b'\r\n\r\n\r\n: ', mark)
    print('Ctrl-C to answer, ms:', ' '.join(f'{t * 1e3:.1f}' for t in times))
    check(min(times) < 0.1 and max(times) < 1.0, f'Ctrl-C answered within 100 ms: {times}')
    check(c.line('x>1000') == '1', 'the loop ran and its variable stays')
    check(c.line('y') == '5', 'earlier definitions stay')
    c.send('\r')
    status = c.finish()
    check(os.WIFEXITED(status) and os.WEXITSTATUS(status) == 0, 'an empty line still ends with 0')
    check(piped(d, 'y\n').count(': 5\n') == 1, 'saved after Ctrl-C')


def interrupt_big(d):
    """Ctrl-C inside 10^6-digit work: the product tree of pi, and the decimal
    text of a 1.9-million-digit integer while it is being printed."""
    c = Console(d)
    c.line('y=big(2)^100'), c.line('bigdigits=1000000')
    times = []
    for work in ('p=big("pi")', 'big(3)^4000000'):
        mark = len(c.out)
        c.send(work + '\r')
        c.wait_for(b'\r\n', mark)
        time.sleep(0.3)
        t0 = time.monotonic()
        c.send(C['C'])
        c.wait_for(b'>evaluation_aborted<', mark)
        times.append(time.monotonic() - t0)
        c.wait_for(b'\r\n\r\n\r\n: ', mark)
    print('Ctrl-C in big work to answer, ms:', ' '.join(f'{t * 1e3:.1f}' for t in times))
    check(max(times) < 0.1, f'Ctrl-C in big work answered within 100 ms: {times}')
    check(c.line('y+1') == '1267650600228229401496703205377', 'earlier big values stay')
    check(c.line('bigdigits=30') == 'bigdigits <- 30' and c.line('big(1)/4') == '0.25', 'the next big line works')
    c.send('\r')
    c.finish()


def signals(d):
    for sig in (signal.SIGHUP, signal.SIGTERM):
        c = Console(d)
        c.line(f'keep{sig}={int(sig)}')
        os.kill(c.pid, sig)
        status = c.finish()
        check(os.WIFSIGNALED(status) and os.WTERMSIG(status) == sig, f'{sig.name} ends by the signal: {status}')
        check(f': {int(sig)}\n' in piped(d, f'keep{sig}\n'), f'{sig.name} at the prompt saves')
    c = Console(d)
    c.line('z=1')
    c.send('while:1,z=z+1;\r')
    time.sleep(0.3)
    os.kill(c.pid, signal.SIGHUP)
    status = c.finish()
    check(os.WIFSIGNALED(status), 'SIGHUP during a loop ends')
    check(': 1\n' in piped(d, 'z>1\n'), 'SIGHUP during a loop saves what the loop did')


def greeting(d):
    c = Console(d)
    first = c.out.decode(errors='replace')
    check(re.search(r'^Ostravine [0-9.]+, help\(\) for help, empty line to save and quit\r$', first, re.M) is not None,
          f'greeting: {first!r}')
    c.line('1+')
    check(b'\x1b[3' not in c.out and b'\x1b[1;' not in c.out, 'NO_COLOR: no colours')
    c.send('\r'), c.finish()
    c = Console(d, env={'NO_COLOR': ''}, prompt=b'\x1b[1;36m: \x1b[0m')
    check(c.line('1+') == '\x1b[31m>invalid_expression<\x1b[0m', 'colours: errors in red')
    check(b'\x1b[1;36m: ' in c.out, 'colours: the prompt')
    c.send('\r'), c.finish()
    c = Console(d, env={'NO_COLOR': '', 'TERM': 'dumb'})
    check(c.line('1+') == '>invalid_expression<', 'a dumb terminal gets no colours')
    c.send('\r'), c.finish()


def tmux(cmd, *args):
    return subprocess.run(['tmux', '-L', 'ostr_terminal_test', cmd, *args], capture_output=True, text=True).stdout


def screen(d):
    """The line wider than the window, with wide characters, as the terminal
    shows it: the whole text once, the cursor where the keys put it."""
    if not shutil.which('tmux'):
        print('tmux not found: screen checks skipped')
        return
    tmux('new-session', '-d', '-x', '30', '-y', '12', f'cd {d} && NO_COLOR=1 {EXE}')
    try:
        def pane():
            time.sleep(0.4)
            rows = tmux('capture-pane', '-p').splitlines()
            x, y = (int(v) for v in tmux('display', '-p', '#{cursor_x} #{cursor_y}').split())
            return tmux('capture-pane', '-p', '-J').splitlines(), x, rows[y] if y < len(rows) else ''
        text = '"' + '中' * 40 + '"'
        whole = ': "é' + text[1:]
        tmux('send-keys', '-l', text)
        tmux('send-keys', 'Home', 'Right', 'é')
        lines, x, row = pane()
        check(whole in (l.rstrip() for l in lines), f'the wrapped line reads whole: {lines}')
        check(x == 4 and row.startswith(': "é'), f'cursor after Home Right é: {x} on {row!r}')
        tmux('resize-window', '-x', '23')
        lines, x, row = pane()
        check([l.rstrip() for l in lines].count(whole) == 1 and x == 4 and row.startswith(': "é'),
              f'after a resize: {lines} {x} {row!r}')
        tmux('send-keys', 'End', 'Enter')
        lines, _, _ = pane()
        check([l.rstrip() for l in lines].count(whole) == 2, f'the answer after the wrapped line: {lines}')
    finally:
        tmux('kill-server')


for test in (editing, history, completion, interrupt, interrupt_big, signals, greeting, screen):
    with tempfile.TemporaryDirectory() as d:
        try:
            test(d)
        except Exception as e:
            check(False, f'{test.__name__}: {e}')
print(f'{len(failures)} failure(s)')
sys.exit(1 if failures else 0)
