# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT

"""nginx under as many concurrent checks as it can answer."""

import re
import subprocess
import time

from stage import SECTIONS, STAGE, WWW

CONFIGURATION = """
daemon off;
worker_processes auto;
pid "{folder}/pid";
error_log "{folder}/error.log";
worker_rlimit_nofile 8192;
events {{ worker_connections 4096; }}
http {{
    access_log off;
    client_body_temp_path "{folder}/body";
    proxy_temp_path "{folder}/proxy";
    fastcgi_temp_path "{folder}/fastcgi";
    uwsgi_temp_path "{folder}/uwsgi";
    scgi_temp_path "{folder}/scgi";
    server {{
        listen 127.0.0.1:{port} ssl;
        ssl_certificate "{folder}/server.pem";
        ssl_certificate_key "{folder}/server.key";
        root "{www}";
        location / {{ add_header Cache-Control "no-store"; }}
    }}
}}
"""


class WebServer:
    """A context: nginx with all cores over TLS, on its own port."""

    def __init__(self, port):
        self.url = f"https://127.0.0.1:{port}/{SECTIONS}/update.json"
        self.port = port
        self.process = None

    def __enter__(self):
        folder = STAGE / "web_server"
        folder.mkdir(exist_ok=True)
        subprocess.run(
            ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
             "-days", "2", "-subj", "/CN=127.0.0.1", "-keyout", folder / "server.key", "-out",
             folder / "server.pem"], check=True, stderr=subprocess.DEVNULL)
        (folder / "nginx.conf").write_text(CONFIGURATION.format(folder=folder, port=self.port, www=WWW))
        self.process = subprocess.Popen(
            ["nginx", "-e", folder / "error.log", "-p", folder, "-c", folder / "nginx.conf"])
        for _ in range(100):
            if subprocess.run(["curl", "-fsk", "-o", "/dev/null", self.url], check=False).returncode == 0:
                return self
            time.sleep(0.1)
        raise RuntimeError("nginx does not serve")

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()

    def rate(self, clients, *headers, seconds=5):
        """Good answers a second to this many clients, each of which asks again immediately."""
        options = [word for header in headers for word in ("-H", header)]
        out = subprocess.run(["wrk", "-t", "1", "-c", str(clients), "-d", f"{seconds}s", *options, self.url],
                             check=True, text=True, stdout=subprocess.PIPE).stdout
        failures = re.search(r"Non-2xx.*: (\d+)|Socket errors: (.*)", out)
        # Late answers lower the rate and are no failures.
        if failures and not re.search(r"connect 0, read \d+, write 0", failures[0]):
            raise RuntimeError(out)
        return float(re.search(r"Requests/sec:\s*([0-9.]+)", out)[1])
