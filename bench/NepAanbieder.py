#!/usr/bin/env python3
"""The fake speech service of bench/UploadWacht.sh: answers every POST with a fixed transcript
once it has the whole body, and appends one line per request to the log: the monotonic clock
(CLOCK_MONOTONIC, the same in every network namespace) at the last byte of the body, the
number of body bytes and the uploaded file's name.
Usage: NepAanbieder.py ADRES POORT LOGBESTAND"""
import http.server
import re
import sys
import time

adres, poort, log = sys.argv[1], int(sys.argv[2]), sys.argv[3]


class Behandelaar(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_POST(self):
        if self.headers.get("Transfer-Encoding", "").lower() == "chunked":
            body = bytearray()
            while True:
                n = int(self.rfile.readline().split(b";")[0], 16)
                body += self.rfile.read(n)
                self.rfile.readline()
                if n == 0:
                    break
        else:
            body = self.rfile.read(int(self.headers.get("Content-Length", 0)))
        klaar = time.monotonic()
        naam = re.search(rb'filename="([^"]*)"', body)
        with open(log, "a") as f:
            f.write(f"{klaar:.6f} {len(body)} {naam.group(1).decode() if naam else '-'}\n")
        antwoord = b'{"text":"Dit is de transcriptie."}'
        self.send_response(200)
        self.send_header("Content-Type", "application/json")
        self.send_header("Content-Length", str(len(antwoord)))
        self.end_headers()
        self.wfile.write(antwoord)

    def log_message(self, *args):
        pass


http.server.ThreadingHTTPServer((adres, poort), Behandelaar).serve_forever()
