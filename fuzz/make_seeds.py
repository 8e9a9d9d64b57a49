#!/usr/bin/env python3
"""Writes the seed corpus of the fuzz targets: real frames and message texts.

Run from anywhere; it rewrites fuzz/corpus/. The seeds are committed, so this
is only needed when they are to change.
"""
import base64
import pathlib
import zlib

CORPUS = pathlib.Path(__file__).resolve().parent / "corpus"


def packed(text: bytes) -> bytes:
    size = len(text) % 0x1000000
    return bytes([size & 0xFF, (size >> 8) & 0xFF, size >> 16]) + zlib.compress(text)


def frame(text: bytes) -> bytes:
    return b"Start_" + base64.b64encode(packed(text)) + b"_End"


STATUS = b"Command\rStatus"
GET_PAGE = b"Command\rGetPageURL\rGetPageURL\rhttp://news.example.org/index.html"
COPY_ABORT = b"Command CopyFileAbort\r"
REPORT = b"Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n"
PAGE = (b"Response: GetPageURL\r\nHTTPURL: http://news.example.org/\r\nHTTPStatus: 200\r\n"
        b"HTTPError: 0\r\nContent-Type: text/html\r\n\r\n<html><body>\x00\xff\xc3\xa9</body></html>")


def intake_seed(piece_sizes: bytes, stream: bytes) -> bytes:
    # Byte 0 counts the piece sizes that follow; each size stands for size + 1.
    return bytes([len(piece_sizes)]) + piece_sizes + stream


def write(target: str, seeds: dict) -> None:
    folder = CORPUS / target
    folder.mkdir(parents=True, exist_ok=True)
    for old in folder.iterdir():
        old.unlink()
    for name, data in seeds.items():
        (folder / name).write_bytes(data)


write("fuzz_frame_intake", {
    "two-frames-one-read": intake_seed(b"", frame(STATUS) + frame(GET_PAGE)),
    "byte-by-byte": intake_seed(b"\x00", frame(COPY_ABORT)),
    "garbage-and-stray-end": intake_seed(b"\x02\x04\x06", b"noise_End" + frame(STATUS) + b"xx" + frame(GET_PAGE)),
    "lowercase-and-empty": intake_seed(b"\x03", b"start_" + base64.b64encode(packed(STATUS)) + b"_end" + b"Start__End"),
    "frame-left-open": intake_seed(b"\x09\x01", frame(STATUS) + b"Start_" + base64.b64encode(packed(GET_PAGE))[:20]),
})

write("fuzz_codec", {
    "command": GET_PAGE,
    "report": REPORT,
    "page": PAGE,
    "packed": packed(PAGE),
    "payload": base64.b64encode(packed(STATUS)),
})
