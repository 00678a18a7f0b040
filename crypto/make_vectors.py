#!/usr/bin/env python3
"""Computes what the tests of crypto/ expect, by other means than the library's.

    crypto/make_vectors.py > crypto/vectors.inc
    crypto/make_vectors.py --check crypto/vectors.inc

DES-CBC comes from the openssl command, MD5 from Python's hashlib; armour, substitution, reversal and
block hash are written here as their rules read. Only the library's fixed values are taken from its
sources. Long results stand there as their FNV-1a hash. --check ends with 1 when the file differs from
what is computed, with 77 when the openssl command here has no DES any more.
"""
import hashlib
import pathlib
import random
import re
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
BOUNDARIES = [0, 1, 2, 3, 4, 7, 8, 9, 55, 56, 57, 63, 64, 65, 86, 89, 91, 119, 120, 127, 128, 129, 767, 768, 769,
              1016, 1017, 1023, 1024, 1025, 1100]
LONGEST_SEALED = 1024


def fixed_values():
    """The arrays of fixed_values.h by name."""
    text = (HERE / "fixed_values.h").read_text(encoding="utf-8")
    arrays = re.findall(r"inline constexpr [^;=]*?\b(k\w+) = \{([^}]*)\};", text)
    return {name: bytes(int(number, 16) for number in re.findall(r"0x[0-9A-F]{2}", body)) for name, body in arrays}


FIXED = fixed_values()


def message(length):
    """The bytes that the tests make too: the upper bytes of a linear congruential generator."""
    state, made = length, bytearray()
    for _ in range(length):
        state = (state * 1664525 + 1013904223) % 2**32
        made.append(state >> 24)
    return bytes(made)


def fnv(data):
    value = 0xCBF29CE484222325
    for byte in data:
        value = (value ^ byte) * 0x100000001B3 % 2**64
    return value


def armour(data):
    """Six bits a character, the first bits first; what a last character lacks is zero."""
    bits = "".join(f"{byte:08b}" for byte in data)
    bits += "0" * (-len(bits) % 6)
    return bytes(48 + int(bits[at:at + 6], 2) for at in range(0, len(bits), 6))


def des_cbc(data):
    command = ["openssl", "enc", "-des-cbc", "-e", "-nopad", "-provider", "legacy", "-provider", "default",
               "-K", FIXED["kCredentialKey"].hex(), "-iv", FIXED["kChainStart"].hex()]
    return subprocess.run(command, input=data, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=True).stdout


def sealed(data):
    """As EncryptAndAsciify has it; nothing for what it refuses and for what is empty."""
    if not data or len(data) > LONGEST_SEALED:
        return b""
    return armour(des_cbc(data + bytes(-len(data) % 8)))


def substituted(data, key):
    made, chain = bytearray(), 0
    for position, byte in enumerate(data):
        chain = FIXED["kSubstitutes"][key[position % len(key)] ^ chain ^ byte]
        made.append(chain)
    return bytes(made)


def reversal(data):
    return bytes((byte + 43) % 256 for byte in reversed(data))


def rotated(word, distance):
    return (word << distance | word >> (32 - distance)) % 2**32


def block_hash(data):
    padded = data + b"\x01"
    padded += bytes((56 - len(padded)) % 64) + len(data).to_bytes(4, "little") + bytes(4)
    chaining = [0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0]
    rules = [(lambda b, c, d: b & c | ~b & d, 0x5A827999), (lambda b, c, d: b ^ c ^ d, 0x6ED9EBA1),
             (lambda b, c, d: b & c | b & d | c & d, 0x8F1BBCDC), (lambda b, c, d: b ^ c ^ d, 0xCA62C1D6)]
    for at in range(0, len(padded), 64):
        words = [int.from_bytes(padded[at + i:at + i + 4], "little") for i in range(0, 64, 4)]
        while len(words) < 80:
            words.append(words[-3] ^ words[-8] ^ words[-14] ^ words[-16])
        a, b, c, d, e = chaining
        for t, word in enumerate(words):
            rule, constant = rules[t // 20]
            total = (rotated(a, 5) + rule(b, c, d) + e + word + constant) % 2**32
            a, b, c, d, e = total, a, rotated(b, 30), c, d
        chaining = [(old + new) % 2**32 for old, new in zip(chaining, (a, b, c, d, e))]
    return chaining


def md5_login(password, challenge):
    block = bytearray(128)
    block[:len(password)] = password
    block[128 - len(password):] = password
    block[64 - len(password):128 - len(password)] = challenge
    return hashlib.md5(block, usedforsecurity=False).hexdigest()


def text_vectors():
    chosen = random.Random(14).sample(range(10, 1100), 24)
    for length in sorted({*BOUNDARIES, *chosen}):
        data = message(length)
        hashes = [fnv(sealed(data)), fnv(armour(data)), fnv(substituted(data, message(length % 37 + 1))),
                  fnv(reversal(data))]
        words = ", ".join(f"0x{word:08x}" for word in block_hash(data))
        yield f"{{{length}, " + ", ".join(f"0x{value:016x}" for value in hashes) + f", {{{words}}}}},"


def login_vectors():
    for length in range(32):
        password = bytes(byte % 255 + 1 for byte in message(length))
        yield f'"{md5_login(password, message(64))}",'


def vectors():
    lines = ["// Made by crypto/make_vectors.py.", "#if defined(VTCLASS_TEXT_VECTORS)", *text_vectors(),
             "#elif defined(VTCLASS_LOGIN_VECTORS)", *login_vectors(), "#endif"]
    return "\n".join(lines) + "\n"


def main():
    try:
        made = vectors()
    except subprocess.CalledProcessError as error:
        print(f"openssl: {error.stderr.decode().strip()}", file=sys.stderr)
        sys.exit(77)
    if sys.argv[1:2] != ["--check"]:
        sys.stdout.write(made)
    elif pathlib.Path(sys.argv[2]).read_text(encoding="utf-8") != made:
        sys.exit(f"{sys.argv[2]} is not what crypto/make_vectors.py computes")


main()
