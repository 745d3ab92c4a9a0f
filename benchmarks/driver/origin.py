"""A private web server for rows that fetch."""

import os
import socket
import subprocess
import time
from dataclasses import dataclass
from pathlib import Path

CONFIGURATION = """
daemon off;
worker_processes 1;
{owner}
pid nginx.pid;
error_log error.log notice;
events {{ worker_connections 64; }}
http {{
    default_type application/octet-stream;
    sendfile on;
    log_format sent '$request_method $status $body_bytes_sent';
    access_log access.log sent;
    client_body_temp_path body;
    proxy_temp_path proxy;
    fastcgi_temp_path fastcgi;
    uwsgi_temp_path uwsgi;
    scgi_temp_path scgi;
    server {{
        listen 127.0.0.1:{port};
        root "{root}";
        {pace}
    }}
}}
"""


@dataclass(frozen=True)
class Pace:
    """After each piece of so many bytes the server pauses for so many seconds."""

    piece: int
    pause: float

    def directives(self) -> str:
        rate = int(self.piece / self.pause)
        return f"sendfile_max_chunk {self.piece}; limit_rate {rate};"


class Origin:
    """One nginx with one worker on a free port of 127.0.0.1. It serves `root`, keeps its own files
    in `work` and ends with stop(), or with the driver."""

    def __init__(self, work: Path, root: Path, pace: Pace | None = None):
        self.work = work
        work.mkdir(parents=True)
        (work / "access.log").touch()
        with socket.create_server(("127.0.0.1", 0)) as listening:
            self.port = listening.getsockname()[1]
            self._configure(root, pace)
            self.process = self._start(listening.fileno())

    def url(self, path: str) -> str:
        return f"http://127.0.0.1:{self.port}/{path}"

    def bytes_sent(self) -> int:
        """In the bodies of all answers that are complete by now."""
        lines = (self.work / "access.log").read_text().splitlines()
        return sum(int(line.split()[2]) for line in lines)

    def settled_bytes_sent(self) -> int:
        """The same when it has stayed for a while: a line comes behind the end of an answer."""
        sent = -1
        while sent != self.bytes_sent():
            sent = self.bytes_sent()
            time.sleep(0.1)
        return sent

    def stop(self) -> None:
        self.process.terminate()
        self.process.wait(timeout=20)

    def _configure(self, root: Path, pace: Pace | None) -> None:
        text = CONFIGURATION.format(
            # A worker of the superuser's server would change to a user who may not read our files.
            owner="user root root;" if os.geteuid() == 0 else "",
            port=self.port,
            root=root,
            pace=pace.directives() if pace else "",
        )
        (self.work / "nginx.conf").write_text(text)

    def _start(self, listening: int) -> subprocess.Popen:
        # It finds the number of the socket that it inherits in a variable of this name.
        environment = os.environ | {"NGINX": f"{listening};"}
        command = ["setpriv", "--pdeathsig", "TERM", "nginx"]
        options = ["-p", f"{self.work}/", "-e", "error.log", "-c", "nginx.conf"]
        return subprocess.Popen(
            command + options, env=environment, pass_fds=[listening], stderr=subprocess.DEVNULL
        )
