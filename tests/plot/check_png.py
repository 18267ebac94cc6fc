#!/usr/bin/python3
# An independent reader for the plot tests: chunk order and CRCs checked
# with Python's zlib, the image data inflated by zlib, pixels read by PIL.
#   check_png.py png FILE [X Y]...   prints "W H", then "R G B" per point
#   check_png.py zlib PACKED RAW     prints "ok" when PACKED inflates to RAW
# Anything wrong prints "bad: why" and exits 1.
import struct
import sys
import zlib


def fail(why):
    print("bad:", why)
    sys.exit(1)


def first_block_type(stream):
    return (stream[2] >> 1) & 3  # after the two header bytes: BFINAL, then BTYPE


def check_zlib(packed_path, raw_path):
    packed = open(packed_path, "rb").read()
    raw = open(raw_path, "rb").read()
    if (packed[0] * 256 + packed[1]) % 31 or packed[0] & 0x0F != 8:
        fail("zlib header")
    if zlib.decompress(packed) != raw:
        fail("inflates to other bytes")
    if first_block_type(packed) != 2:
        fail("first block is not a dynamic Huffman block")
    print("ok")


def check_png(path, points):
    data = open(path, "rb").read()
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        fail("signature")
    pos, chunks = 8, []
    while pos < len(data):
        if pos + 12 > len(data):
            fail("cut chunk")
        (n,) = struct.unpack(">I", data[pos:pos + 4])
        kind, body = data[pos + 4:pos + 8], data[pos + 8:pos + 8 + n]
        (crc,) = struct.unpack(">I", data[pos + 8 + n:pos + 12 + n])
        if zlib.crc32(kind + body) & 0xFFFFFFFF != crc:
            fail("CRC of " + kind.decode("latin-1"))
        chunks.append((kind, body))
        pos += 12 + n
    kinds = [k for k, _ in chunks]
    if kinds[0] != b"IHDR" or kinds[-1] != b"IEND" or b"IDAT" not in kinds:
        fail("chunk order")
    w, h, depth, colour, method, filt, interlace = struct.unpack(">IIBBBBB", chunks[0][1])
    if (depth, colour, method, filt, interlace) != (8, 2, 0, 0, 0):
        fail("header fields")
    stream = b"".join(b for k, b in chunks if k == b"IDAT")
    raw = zlib.decompress(stream)
    if len(raw) != h * (1 + 3 * w):
        fail("image data size")
    if any(raw[y * (1 + 3 * w)] > 4 for y in range(h)):
        fail("filter type")
    if first_block_type(stream) != 2:
        fail("stored or fixed block")
    from PIL import Image
    image = Image.open(path).convert("RGB")
    print(w, h)
    for x, y in points:
        print(*image.getpixel((x, y)))


if sys.argv[1] == "zlib":
    check_zlib(sys.argv[2], sys.argv[3])
else:
    args = [int(a) for a in sys.argv[3:]]
    check_png(sys.argv[2], list(zip(args[0::2], args[1::2])))
