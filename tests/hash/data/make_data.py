#!/usr/bin/python3
"""Makes the expected values for the hash suite with independent code:
Python's hashlib and base64 modules, a 32-bit FNV-1a in three lines, and a
model of the random generator written from its description (exact integer
arithmetic, no Schrage). Run from this folder: ./make_data.py"""
import base64, hashlib, random

def pattern(kind, n):
    if kind == 0:
        return bytes((j * 167 + n * 13 + 7) & 255 for j in range(n))
    return bytes([0x61 if kind == 1 else 0xFF]) * n

def sha2_file():
    cases = [(0, n) for n in range(301)]
    cases += [(k, n) for k in (1, 2) for n in (55, 56, 63, 64, 111, 112, 119, 120, 127, 128, 239, 240)]
    cases += [(0, n) for n in (1000, 1023, 1024, 1025, 4096, 16384, 65539, 100000)]
    with open("sha2.txt", "w") as f:
        f.write("# length pattern sha512 sha256 (pattern 0: byte j = (167j + 13n + 7) mod 256; 1: 'a'; 2: 0xff)\n")
        for kind, n in cases:
            m = pattern(kind, n)
            f.write(f"{n} {kind} {hashlib.sha512(m).hexdigest()} {hashlib.sha256(m).hexdigest()}\n")

def base64_file():
    rng = random.Random(4648)
    with open("base64.txt", "w") as f:
        f.write("# bytes-as-hex standard url-safe-with-padding (empty bytes written as -)\n")
        for n in list(range(0, 40)) + [rng.randrange(40, 600) for _ in range(30)]:
            m = bytes(rng.randrange(256) for _ in range(n))
            f.write(f"{m.hex() or '-'} {base64.b64encode(m).decode() or '-'} {base64.urlsafe_b64encode(m).decode() or '-'}\n")

def fnv_file():
    with open("fnv1a.txt", "w") as f:
        f.write("# text-as-hex fnv1a-32 (empty text written as -)\n")
        for t in [b"", b"a", b"b", b"foobar", b"hello world", bytes(range(1, 256)), b"\xff" * 100]:
            h = 2166136261
            for b in t:
                h = ((h ^ b) * 16777619) % 2**32
            f.write(f"{t.hex() or '-'} {h}\n")

class Ran2:
    """The combined generator as described: generator one s <- 40014 s mod
    2147483563, generator two t <- 40692 t mod 2147483399, a 32-slot shuffle
    table filled by 40 warm-up steps when the state is <= 0, and generator
    two restarted at 123456789 with slot 0 for every later draw."""
    def __init__(self):
        self.table = [0] * 32
    def draw(self, state):
        if state <= 0:
            s = max(-state, 1)
            t = s
            for j in range(39, -1, -1):
                s = 40014 * s % 2147483563
                if j < 32:
                    self.table[j] = s
            y = self.table[0]
        else:
            s, t, y = state, 123456789, 0
        s = 40014 * s % 2147483563
        t = 40692 * t % 2147483399
        j = int(y / 67108862.3125)
        r = self.table[j] - t
        self.table[j] = s
        if r < 1:
            r += 2147483562
        return s, min(r * 4.656613057391769e-10, 0.99999988)

def signed(c):
    return c - 256 if c > 127 else c

def seed_from_string(text):
    n = len(text)
    acc = n + 1
    c = [signed(b) for b in text]
    if n < 4:
        packed = 0
        for k in range(n):
            packed = packed * 256 + c[k]
        acc += packed
    else:
        for i in range((n + 3) // 4):
            p = 4 * i + 1
            acc += ((c[4 * i] * 256 + c[(p + 2) % n]) * 256 + c[p % n]) * 256 + c[(p + 1) % n]
    return -((acc % 2**32) % 2147483646)

def ran2_file():
    g = Ran2()
    out = ["# commands run in order against one shared table; doubles as hex floats, texts as hex"]
    state = 0
    def u():
        nonlocal state
        state, x = g.draw(state)
        return x
    def alnum(n):
        s = ""
        for _ in range(n):
            k = int(u() * 62)
            s += chr(48 + k) if k < 10 else chr(65 + k - 10) if k < 36 else chr(97 + k - 36)
        return s
    for seed in (-1, 0, -99, -123456, -2147483647, -2147483648, -1000000007):
        state = seed
        out.append(f"seed {seed}")
        for _ in range(40):
            out.append(f"ran2 {u().hex()}")
        out.append(f"state {state}")
    out.append("table " + " ".join(map(str, g.table)))
    state = -5
    out.append("seed -5")
    for lo, hi in ((1, 6), (-10, 10), (0, 0), (-2147483648, 2147483647), (5, 1), (0, 1000000)):
        for _ in range(5):
            out.append(f"int {lo} {hi} {int(u() * (hi - lo + 1) + lo)}")
    for lo, hi in ((0.0, 1.0), (-3.5, 2.25), (1e6, -1e6)):
        for _ in range(5):
            out.append(f"real {lo.hex()} {hi.hex()} {(u() * (hi - lo) + lo).hex()}")
    for n in (0, 1, 10, 70):
        out.append(f"any {n} {bytes(int(u() * 127 + 1) for _ in range(n)).hex() or '-'}")
        out.append(f"printable {n} {bytes(int(u() * 95 + 32) for _ in range(n)).hex() or '-'}")
        out.append(f"alnum {n} {alnum(n) or '-'}")
    for text in (b"", b"a", b"ab", b"abc", b"abcd", b"abcde", b"hello world", b"\xff", b"\x80\x81\x82",
                 b"\x80\x80\x80\x80\x80", bytes(range(1, 256)), b"password" * 37):
        out.append(f"seedstr {text.hex() or '-'} {seed_from_string(text)}")
    for seed, secret in ((-42, b"secret"), (-7, b""), (-2026, b"correct horse battery staple")):
        state = seed
        out.append(f"seed {seed}")
        for _ in range(3):
            k = int(u() * 32)
            salt = alnum(k + 33)
            digest = hashlib.sha512(secret + salt.encode()).hexdigest()
            out.append(f"salted {secret.hex() or '-'} {salt.encode().hex()}{digest}{k:02x}")
    with open("ran2.txt", "w") as f:
        f.write("\n".join(out) + "\n")

sha2_file()
base64_file()
fnv_file()
ran2_file()
