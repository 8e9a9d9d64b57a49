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


def response_seed(piece_sizes: bytes, response: bytes, reset: bool = False, end_with_last: bool = False) -> bytes:
    # Bits 0 to 2 of byte 0 count the piece sizes that follow; bit 3 asks for a
    # reset, bit 4 for the end of the connection right behind the last piece.
    flags = (8 if reset else 0) | (16 if end_with_last else 0)
    return bytes([len(piece_sizes) | flags]) + piece_sizes + response


OK_PAGE = (b"HTTP/1.0 200 OK\r\nContent-Type: text/html\r\nContent-Length: 13\r\n\r\n"
           b"<html></html>")

write("fuzz_http_response", {
    "page-in-one-piece": response_seed(b"", OK_PAGE),
    "page-byte-by-byte": response_seed(b"\x00", OK_PAGE),
    "nothing-sent": response_seed(b"", b""),
    "half-a-block": response_seed(b"\x07", b"HTTP/1.0 200 OK\r\nServer: test"),
    "lf-block-crlf-body": response_seed(b"\x03\x10", b"HTTP/1.0 200 OK\nServer: test\n\nline\r\n\r\nmore"),
    "crlf-lines-lflf-end": response_seed(b"", b"HTTP/1.0 301 Moved\r\nLocation: /new\n\nbody"),
    "cr-only": response_seed(b"\x05", b"HTTP/1.0 404 Not Found\rServer: test\r\rgone"),
    "unauthorized": response_seed(b"", b"HTTP/1.0 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"x\"\r\n\r\nno",
                                  end_with_last=True),
    "end-with-the-bytes": response_seed(b"", OK_PAGE, end_with_last=True),
    "reset-mid-body": response_seed(b"\x20", OK_PAGE + b"<p>more</p>" * 8, reset=True),
    "more-than-announced": response_seed(b"\x02\x30", b"HTTP/1.0 200 OK\r\nContent-length: 5\r\n\r\n123456789"),
})
