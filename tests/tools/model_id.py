#!/usr/bin/env python3
"""Prints the model id of a file as the translator forms it, computed independently of it:
the MD5 block function over the text (up to its first NUL) padded with zeros only, over
((len + 8) rounded down to 64) + 56 bytes rounded up to 64, each chaining word as %2.2x."""
import struct
import sys

S = [7, 12, 17, 22] * 4 + [5, 9, 14, 20] * 4 + [4, 11, 16, 23] * 4 + [6, 10, 15, 21] * 4
K = [int(abs(__import__("math").sin(i + 1)) * 2**32) & 0xFFFFFFFF for i in range(64)]


def rotl(x, c):
    return ((x << c) | (x >> (32 - c))) & 0xFFFFFFFF


def block(h, chunk):
    m = struct.unpack("<16I", chunk)
    a, b, c, d = h
    for i in range(64):
        if i < 16:
            f, g = (b & c) | (~b & d), i
        elif i < 32:
            f, g = (d & b) | (~d & c), (5 * i + 1) % 16
        elif i < 48:
            f, g = b ^ c ^ d, (3 * i + 5) % 16
        else:
            f, g = c ^ (b | ~d), (7 * i) % 16
        f &= 0xFFFFFFFF
        a, d, c, b = d, c, b, (b + rotl((a + f + K[i] + m[g]) & 0xFFFFFFFF, S[i])) & 0xFFFFFFFF
    return [(x + y) & 0xFFFFFFFF for x, y in zip(h, (a, b, c, d))]


def model_id(data):
    data = data.split(b"\0")[0]
    span = ((len(data) + 8) // 64) * 64 + 56
    total = (span + 63) // 64 * 64
    buf = data + b"\0" * (total - len(data))
    h = [0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476]
    for off in range(0, total, 64):
        h = block(h, buf[off:off + 64])
    return "-".join("%2.2x" % w for w in h)


if __name__ == "__main__":
    print(model_id(open(sys.argv[1], "rb").read()))
