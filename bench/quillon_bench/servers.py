# SPDX-License-Identifier: MIT
"""nginx on free ports of one address: plain, over TLS, and with a limit for each connection."""

import socket
import subprocess
import time
from pathlib import Path

from .measure import Failure, Unavailable
from .packages import Package

CONFIGURATION = """daemon off;
master_process off;
pid nginx.pid;
error_log error.log;
events {{ worker_connections 256; }}
http {{
    log_format requests "$request_method $uri $status $body_bytes_sent";
    access_log access.log requests;
    client_body_temp_path body;
    proxy_temp_path proxy;
    fastcgi_temp_path fastcgi;
    uwsgi_temp_path uwsgi;
    scgi_temp_path scgi;
    default_type application/octet-stream;
    sendfile on;
    tcp_nodelay on;
{servers}}}
"""

SERVER = """    server {{
        listen {address}:{port}{tls};
        root {root};
        location /update/ {{ alias {folder}/manifests/; default_type application/xml; }}
        location /packages/ {{ alias {root}/; {limit} }}
    }}
"""

MANIFEST = (
    "<Update><ExeUrl_x64>{url}</ExeUrl_x64>{verify}<WhatNews><Item><Version>9.2.0.0</Version>"
    "<Text><![CDATA[<li>Faster export</li>]]></Text></Item></WhatNews></Update>"
)


class Nginx:
    """One process that serves the packages of a folder. `limited` sends so many bytes a second to each
    connection. Ended by its id when the block ends."""

    def __init__(self, folder: Path, packages: Path, address: str = "127.0.0.1", limit: int = 0):
        self._folder = folder.resolve()
        self._packages = packages.resolve()
        self._address = address
        self._limit = limit
        self._process: subprocess.Popen | None = None
        self.ca = self._folder / f"server-{address}.pem"
        (self._folder / "manifests").mkdir(parents=True, exist_ok=True)

    def __enter__(self) -> "Nginx":
        self._make_certificate()
        try:
            for _ in range(5):  # another process may take a free port first
                if self._starts(free_ports(self._address, 3)):
                    return self
                self._end()
        except BaseException:  # __exit__ is not called then
            self._end()
            raise
        raise Failure("nginx does not start: " + (self._folder / "error.log").read_text())

    def _starts(self, ports: list[int]) -> bool:
        self._write_configuration(ports)
        command = ["/usr/sbin/nginx", "-p", self._folder, "-c", "nginx.conf", "-e", "error.log"]
        try:
            self._process = subprocess.Popen(command)
        except FileNotFoundError as missing:
            raise Unavailable("nginx is not installed") from missing
        self.plain, self.limited = (f"http://{self._address}:{port}" for port in (ports[0], ports[2]))
        self.tls = f"https://{self._address}:{ports[1]}"
        self.port = ports[0]
        return self._is_ready(ports)

    def __exit__(self, *_: object) -> None:
        self._end()

    def package_url(self, base: str, package: Package) -> str:
        return f"{base}/packages/{package.name}"

    def update_url(self, base: str, package: Package, with_md5: bool = False) -> str:
        """The address of a check whose answer names that package at `base`. Without the MD5 of the package the module
        does not read it again; no other contender does."""
        name = f"{base.rpartition(':')[2]}-{package.name}.xml"
        verify = f"<Verify_x64>{package.md5()}</Verify_x64>" if with_md5 else ""
        text = MANIFEST.format(url=self.package_url(base, package), verify=verify)
        (self._folder / "manifests" / name).write_text(text, encoding="ascii")
        return f"{base}/update/{name}?pid=&version=&email="

    def forget_requests(self) -> None:
        (self._folder / "access.log").write_text("")

    def bytes_sent(self, package: Package) -> int:
        """Of the bodies of all answers with this package since `forget_requests`."""
        lines = (line.split() for line in (self._folder / "access.log").read_text().splitlines())
        return sum(int(sent) for _, uri, _, sent in lines if uri.endswith("/" + package.name))

    def _make_certificate(self) -> None:
        if self.ca.exists():
            return
        subprocess.run(
            ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", f"/CN={self._address}",
             "-addext", f"subjectAltName=IP:{self._address}", "-keyout", self.ca.with_suffix(".key"), "-out", self.ca],
            check=True, capture_output=True)

    def _write_configuration(self, ports: list[int]) -> None:
        tls = f" ssl; ssl_certificate {self.ca.name}; ssl_certificate_key {self.ca.stem}.key"
        # It sleeps behind each piece but the last one: of 2 MiB each, a fifth of a package would come too early.
        limit = f"limit_rate {self._limit}; sendfile_max_chunk {self._limit // 100};" if self._limit else ""
        folder = self._folder
        servers = "".join(
            SERVER.format(address=self._address, port=port, tls=kind, limit=rate, root=self._packages, folder=folder)
            for port, kind, rate in zip(ports, ("", tls, ""), ("", "", limit))
        )
        (folder / "nginx.conf").write_text(CONFIGURATION.format(servers=servers), encoding="utf-8")

    def _is_ready(self, ports: list[int]) -> bool:
        deadline = time.monotonic() + 5
        while time.monotonic() < deadline and self._process.poll() is None:
            try:
                for port in ports:
                    socket.create_connection((self._address, port), 1).close()
                return True
            except OSError:
                time.sleep(0.02)
        return False

    def _end(self) -> None:
        if self._process is not None:
            self._process.kill()
            self._process.wait()
            self._process = None


def free_ports(address: str, count: int) -> list[int]:
    # All are held until the last one is found, so that none comes twice.
    probes = [socket.create_server((address, 0)) for _ in range(count)]
    ports = [probe.getsockname()[1] for probe in probes]
    for probe in probes:
        probe.close()
    return ports
