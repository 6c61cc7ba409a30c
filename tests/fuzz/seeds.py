#!/usr/bin/env python3
"""Writes the first inputs of every corpus: complete, well-formed examples from which a fuzzer finds the rest."""
import os
import re
import struct
import sys

import corpus

here = os.path.dirname(os.path.abspath(__file__))


def text(content):
    data = content if isinstance(content, bytes) else content.encode()
    return struct.pack("<H", len(data)) + data


MASK = struct.pack("<I", 0xFFFFFFFF)
LOG = (
    "2024/03/05-14:07:09.042 pid=0a3c tid=0b04 LegacyClient    +KalOpen() handle =5\r\n"
    "2024/03/05-14:07:09.043 pid=0a3c tid=0b04 LegacyClient     sending A5 00 03\r\n"
    "2024/03/05-14:07:09.044 pid=0a3c tid=0b05 LegacyClient    +KalWrite() handle=5 byteCount=7\r\n"
    "2024/03/05-14:07:09.050 pid=0a3c tid=0b04 LegacyClient    -KalOpen() handle =5 rc=1\r\n"
    "LegacyClient    -KalWrite() handle=5 byteCount=7 rc=KAL_FAIL\n"
    "the rest of a message\n"
).encode()
CONFIGURATION = """{ "spool": "s", "spoolCapacity": 10, "logCalls": true,
  "printers": [ { "handle": "0x6001", "transport": "IPv4", "port": "p", "device": "CpdPrinter", "state": "idle",
    "name": "n", "macAddress": "00:02:B3:C4:D5:E6", "reachable": false, "hiddenUntilDiscovery": true,
    "cache": { "head": true, "text": "MODEL", "bytes": "00 ff" }, "reportsJobs": false, "printingMs": 1,
    "bidi": [ { "request": "A5 00", "answer": "01", "code": 5, "delayMs": 1 }, { "request": "", "response": "A5" } ],
    "rawTcp": { "host": "h", "port": 9100 }, "endOfJobFlag": null,
    "properties": { "a": "b", "c": 1, "d": { "bytes": "0102" } } } ],
  "entryPoints": { "OrxWritePrinter": [ { "call": 2, "code": 170, "accept": 4 }, { "fromCall": 3, "delayMs": 1 } ],
    "OrxOpenPrinter": { "missing": true } },
  "timeline": [ { "printer": "p", "from": "registration", "afterMs": 1, "count": 2, "intervalMs": 3,
    "alert": "tonerLow", "alertLength": 11 }, { "printer": 24577, "notification": 1, "category": 2, "flag": 3 },
    { "printer": "0x6001", "alertBytes": "A5" } ] }"""


RECORDING = """{"recording":"comc.dll","format":1,"process":7,"program":"p","service":"s","started":"t","redacted":false}
{"event":"load","number":1,"time":1,"thread":9,"missing":["OrxInstall"]}
{"event":"call","number":2,"time":2,"thread":9,"entryPoint":"OrxGetCachePrinter","arguments":{"clientId":8,"handle":5}}
{"event":"bytes","number":2,"argument":"buffer","output":true,"offset":0,"hex":"a5"}
{"event":"return","number":2,"time":3,"thread":9,"entryPoint":"OrxGetCachePrinter","result":0,"outputs":{"buffer":VALUE}}
{"event":"callback","number":3,"time":4,"thread":8,"callback":1,"kind":"alert","arguments":{"handle":5,"alert":VALUE}}
{"event":"callbackReturn","number":3,"time":5,"thread":8,"result":0}
{"event":"unload","number":4,"time":6,"thread":9}
"""
VALUES = ["null", '"t\\n"', "7", '{"length":1,"hex":"a5"}', '{"length":40,"sha256":"00","pieces":1}', '{"output":true}',
          '{"callback":1}', '{"address":"00"}']
NO_VALUES = ['{"length":1,"hex":"a"}', '{"length":1,"hex":7}', '{"length":1,"sha256":7}', "-1", "[]"]
EDITS = [('"handle":5', '"a\\nb":5'), ('"time":2', '"time":9223372036854775807'), (',"number":3', ',"number":3,"within":2'),
         ('"result":0', '"raised":true'), ("OrxGetCachePrinter", "OrxOpenPrinter")]


def recording(value, edit=("", "")):
    return RECORDING.replace("VALUE", value).replace(*edit)


def pieced(content):
    """A recording with its pieces as the bytes that stand for them."""
    with open(os.path.join(here, "targets", "RecordingPieces.inc"), encoding="ascii") as file:
        pieces = re.findall(r'^RECORDING_PIECE\((0x..), R"\((.*)\)"\)$', file.read(), re.MULTILINE)
    for byte, piece in pieces:
        content = content.replace(piece, chr(int(byte, 16)))
    return content


def alert(*from_command, length=12):
    return (bytes([0xA5, 0, 0, 0, *from_command]) + bytes(length))[:length]


SEEDS = {
    "alerts": [
        MASK + alert(0xFF, 1, 0, 0, length=8),
        MASK + alert(0xF0, 0x73, 1, 1, 0x10, 1, 0x10, 0, length=24),
        struct.pack("<I", 0x7BFFFF) + alert(0xF0, 0x73, 1, 1, 8, 1, 8, 0),
        MASK + alert(0xF0, 0x73, 0, 0, 0, 0, 1, length=16),
        MASK + alert(0xF0, 0x73, 0, 0, 0, 0, 2, length=6),
        MASK + alert(0xF0, 0x73, 0, 0, 0, 0, 4, length=16),
        MASK + alert(0xF0, 0x03, 0x80, 1, length=21),
        b"",
    ],
    "bidi": [struct.pack("<H", code) + data for code in (0, 1, 170, 181, 182, 183) for data in (b"", b"12345", b"x" * 505)],
    "cache_block": [
        struct.pack("<H", told) + data
        for told in (0, 7, 8, 65535)
        for data in (b"", bytes([0xA5]) * 8, bytes([0xA5, *range(7)]) + b"MODEL", b"MODEL of nine", bytes([0xA5]) * 17)
    ],
    "ports": [
        struct.pack("<IIHB6s", 0xFFF, port_type, 0x6001, 0, b"123456") + text(transport) + text("LPT1") + b"n" * length
        for transport, port_type in (("ipV4", 2), ("HBN3", 0x200), ("USB1", 0x400), ("PAR1", 0x800), ("?", 4095))
        for length in (0, 159, 160, 300)
    ] + [
        struct.pack("<IIHB6s", 0xFFF, 2, 0x6001, 0, b"123456") + text(each) + text(b"")
        for each in (b"CpdPrinter", b"BpdPrinter", b"CpdPrinter1", b"CpdPrinter\0rest", b"", b"n" * 260)
    ],
    "names": [
        text("C:\\Windows\\kalclient.dll") + b"Machine",
        text("\\\\MACHINE") + b"machine",
        text("ORR") + b"\\a",
        text("x\\y") + b"\\\\",
    ],
    "message_text": [
        bytes(40) + b"\0" + text("KalOpen() handle =") + b"\2" + bytes(8) + b"\3" + text(b"\x00\xA5\xFF")
        + b"\4" + struct.pack("<IBB", 2608, 4, 1) + b"\5" + struct.pack("<Q", 4096) + b"\1" + struct.pack("<q", -27),
        bytes(40) + b"\6x" + struct.pack("<H", 511) + b"\0" + text("abc"),
        bytes(40) + b"\6x" + struct.pack("<H", 512) + b"\0" + text("abc"),
    ],
    "log_lines": [bytes([12, 0]) + LOG, bytes([255, 1]) + LOG.replace(b"pid=0a3c ", b"")],
    "timeline": [LOG, LOG.replace(b"2024/03/05-14:07:09.050", b"2024/03/05-12:07:09.050"), LOG.replace(b"tid=0b04 ", b"")],
    "configuration": [CONFIGURATION, '{"printers":[]}', "[" * 70, '{"printers": 1,\n "a": 1e9}', "\ufeff{}"],
    # Read, compared and replayed (0); shown (16), by filters (2, 4, 8), too.
    "recordings": [
        *(bytes([choice]) + text(pieced(recording(value, edit))) + pieced(recording("null")).encode()
          for choice in (0, 16)
          for value, edit in [(value, ("", "")) for value in VALUES + NO_VALUES] + [("7", edit) for edit in EDITS]),
        *(bytes([choice]) + text(pieced(recording("7"))) for choice in (18, 20, 24, 22)),
        *(bytes([choice]) + text(recording("7")) + recording("8").encode() for choice in (1, 17)),
        *(bytes([choice]) + text(pieced(recording("7")[:-30])) for choice in (0, 16)),
    ],
    "typed_text": [
        struct.pack("<I", 65535) + each
        for each in (b"A5 00:ff-0a,", b"a5f", b"0xFFFF", b"65535", b"65536", b"0x", b"")
    ] + [struct.pack("<IQq", each, 0x00050001, 2) for each in (0x5F4, 0x600, 0x601, 0x63C, 0x640)],
    "service_text": [
        b"\0" + text(b"\xA5\0") + text("ok") + text("tonerLow")
        + b"<Name>Device</Name><Type>String</Type><Access>ReadOnly</Access>",
        b"\1" + text(b"") + text(b"\xA5") + text("idle") + b"\xA5\x00\x03\x50\x04",
    ],
    # Read in pieces of 4 bytes, and of 256.
    "event_journal": [
        bytes([pieces]) + each
        for pieces in (3, 255)
        for each in (b"133000000000000 1234 24577 1 8 1 -\n1 2 3 1 8 - A500FE\n", b"1 2 3 1 0 - \nrest\n0 1 3 1 6 - -",
                     b"18446744073709551616 1 1 1 1 1 -\n1 4294967295 65535 0 0 4294967295 -\n")
    ],
    # A file (0), and a memory (1) of a text, a number, bytes and a job string.
    "printer_store": [
        b"\0" + b'{"properties":{"a":"b","c":4294967295,"d":{"bytes":[0,255]}},"jobStrings":{"e":"f"},"discovered":true,'
        + b'"deleted":false,"printingUntilMs":18446744073709551615}',
        *(b"\0" + b'{"properties":{"a":%s},"jobStrings":{},"discovered":true,"deleted":false,"printingUntilMs":%s}' % each
          for each in ((b"-1", b"0"), (b"1e30", b"0"), (b'{"bytes":[256]}', b"0"), (b'{"bytes":7}', b"0"), (b"0", b"1e30"))),
        b"\0{}", b"\0[", b"\0null",
        b"\1\1\0" + struct.pack("<Q", 7) + b"\0" + text("Device") + text("CpdPrinter") + b"\1" + text("n") + bytes(4)
        + b"\2" + text("b") + text(b"\0\xff") + b"\3" + text("j") + text("s") + b"\0" + text(b"\xe4") + text(b"\xff"),
    ],
    # An entry point, redacted and successful (3), words, and what the service changes: a document of 3 bytes and of two
    # pieces, texts, an answer and its length, callbacks, and callbacks themselves.
    "capture": [
        *(bytes([entry_point, flags]) + words + text(b"\1\2\3") + text(b"\4")
          for entry_point in (*range(0, 90, 8), 240, 241, 242) for flags in (0, 3)
          for words in (b"\1" + bytes(8) + b"\1" + struct.pack("<Q", 5) + b"\6" + text(b"\1\2\3\4") + b"\2\6" + text(bytes(4))
                        + b"\4\0\3",)),
        *(bytes([entry_point, flags]) + b"\1" + bytes(8) + b"\1" + struct.pack("<Q", 5) + b"\5\7" + bytes(2) + b"\2"
          + b"\6" + text(b"\1\0\0\0") for entry_point in range(0, 90, 8) for flags in (2, 3)),
        *(bytes([entry_point, 2]) + b"\4" * 3 + b"\6" + text(word) + b"\1" * 3 + b"\6" + text("t")
          for entry_point in range(0, 90, 8) for word in (b"B\xfc", b"=\xd8\xa8\xdd\0\0", b"=\xd8x\0\0\0")),
    ],
    "data_buffer": [
        b"\0" + text("abcdef") + b"\1\0\2\0" + b"\2" + text("xy") + b"\3\4\1\1\3\0\5",
        b"\0" + text("ab") + b"\1\1\1\0" + b"\0" + text("cd") + b"\4\2" + text("abcdefgh"),
    ],
}


def main():
    for target, inputs in SEEDS.items():
        seeds = {f"seed-{number:02}": content if isinstance(content, bytes) else content.encode()
                 for number, content in enumerate(inputs)}
        corpus.write(target, {**corpus.read(target), **seeds})
    return 0


if __name__ == "__main__":
    sys.exit(main())
