#!/bin/sh
# SPDX-License-Identifier: MIT
# make-certificates.sh FOLDER: a certificate authority of its own (ca.pem) and a certificate that it issued for
# 127.0.0.1 (server.pem, server.key), and for 0.0.0.0, which tests of a proxy ask for.
set -eu
mkdir -p "$1"
cd "$1"
cat >openssl.cnf <<'TEXT'
[req]
distinguished_name=name
[name]
[authority]
basicConstraints=critical,CA:TRUE
subjectKeyIdentifier=hash
[server]
basicConstraints=critical,CA:FALSE
subjectAltName=IP:127.0.0.1,IP:0.0.0.0
TEXT
make() {
    openssl req -x509 -config openssl.cnf -newkey rsa:2048 -nodes -days 3650 "$@" 2>openssl.log ||
        { cat openssl.log >&2; exit 1; }
}
make -extensions authority -subj /CN=Authority -keyout ca.key -out ca.pem
make -extensions server -subj /CN=Server -keyout server.key -out server.pem -CA ca.pem -CAkey ca.key
