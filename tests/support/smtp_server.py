#!/usr/bin/python3
"""A real SMTP server on 127.0.0.1 for the mail tests.

Prints the port it listens on, then saves every accepted message as
msg-N.json (envelope sender, recipients, data) in the output folder. With
--user and --password it requires AUTH and accepts only that pair; with
--cert and --key it offers STARTTLS with that certificate (and then accepts
AUTH only over the encrypted connection). It stops when its standard input
closes.
"""
import argparse
import json
import os
import socket
import ssl
import sys

from aiosmtpd.controller import Controller
from aiosmtpd.smtp import AuthResult, LoginPassword


class SavingHandler:
    def __init__(self, folder):
        self.folder = folder
        self.count = 0

    async def handle_DATA(self, server, session, envelope):
        self.count += 1
        record = {
            "from": envelope.mail_from,
            "to": list(envelope.rcpt_tos),
            "data": envelope.content.decode("utf-8", "replace"),
        }
        final = os.path.join(self.folder, "msg-%d.json" % self.count)
        with open(final + ".tmp", "w", encoding="utf-8") as out:
            json.dump(record, out)
        os.replace(final + ".tmp", final)
        return "250 Message accepted"


def make_authenticator(user, password):
    def authenticate(server, session, envelope, mechanism, auth_data):
        ok = (isinstance(auth_data, LoginPassword)
              and auth_data.login == user.encode()
              and auth_data.password == password.encode())
        return AuthResult(success=ok, handled=False)
    return authenticate


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--out", required=True)
    parser.add_argument("--user")
    parser.add_argument("--password")
    parser.add_argument("--cert")
    parser.add_argument("--key")
    args = parser.parse_args()

    options = {}
    if args.cert:
        context = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH)
        context.load_cert_chain(args.cert, args.key)
        options["tls_context"] = context
    if args.user:
        options.update(authenticator=make_authenticator(args.user, args.password or ""),
                       auth_required=True, auth_require_tls=bool(args.cert))
    port = free_port()
    controller = Controller(SavingHandler(args.out), hostname="127.0.0.1", port=port, **options)
    controller.start()
    print(port, flush=True)
    sys.stdin.read()
    controller.stop()


if __name__ == "__main__":
    main()
