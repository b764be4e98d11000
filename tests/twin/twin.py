"""A gpon-twin to test, and clients of it: ncclient over SSH and a UNIX socket, and one that sends what it is told."""
import os
import re
import shutil
import signal
import socket
import subprocess
import tempfile

from ncclient import manager
from ncclient.devices.default import DefaultDeviceHandler
from ncclient.manager import Manager
from ncclient.transport.ssh import SSHSession

NETCONF = "urn:ietf:params:xml:ns:netconf:base:1.0"
MODEL = "urn:olt:gpon:base"
CONFIRM = "urn:olt:gpon:twin:confirm"
SPACES = {"nc": NETCONF, "b": MODEL, "c": CONFIRM}
PATIENCE = 60


class Twin:
    """A server with a state folder and keys for eve (admin), olga (operator) and vera (viewer)."""

    roles = {"eve": "admin", "olga": "operator", "vera": "viewer"}

    def __init__(self, program, running, *options, card=None, state=None, ssh=True):
        self.program, self.ssh = program, ssh
        self.own = None if state else tempfile.mkdtemp(prefix="gpon-twin-test-")
        self.state = state or self.own
        self.key = os.path.join(self.state, "client_key")
        self.socket = os.path.join(self.state, "netconf.sock")
        self.words = [*program, "--running", running, "--state", self.state, *options]
        self.words += ["--port", "0"] if ssh else ["--no-ssh"]
        self.words += ["--card", card] if card else []
        if not os.path.exists(self.key):
            self.make_keys()
        self.process = None
        self.port = None

    def make_keys(self):
        lines = []
        for name, role in self.roles.items():
            key = f"{self.key}_{name}"
            subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", key], check=True)
            with open(key + ".pub", encoding="utf-8") as public:
                lines.append(f'name="{name}",role="{role}" {public.read()}')
        keys = os.path.join(self.state, "authorized_keys")
        with open(keys, "w", encoding="utf-8") as out:
            out.writelines(lines)
        os.chmod(keys, 0o600)
        open(self.key, "w", encoding="utf-8").close()

    def start(self):
        self.process = subprocess.Popen(self.words, stdout=subprocess.PIPE, text=True)
        self.greeting = self.process.stdout.readline()
        if not self.greeting:
            raise RuntimeError(f"the server ended with {self.process.wait()}: {self.words}")
        found = re.search(r"SSH \S+ port (\d+)", self.greeting)
        self.port = int(found.group(1)) if found else None
        return self

    def stop(self, signal_number=signal.SIGTERM):
        if self.process is None:
            return None
        self.process.send_signal(signal_number)
        code = self.process.wait(PATIENCE)
        self.process.stdout.close()
        self.process = None
        return code

    def host_key(self):
        words = ["ssh-keyscan", "-p", str(self.port), "127.0.0.1"]
        told = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=True).stdout
        assert told
        return sorted(line.split()[1:] for line in told.splitlines())

    def __enter__(self):
        return self.start()

    def __exit__(self, *_):
        code = self.stop()
        if self.own:
            shutil.rmtree(self.own)
        assert code in (0, None), f"the server ended with {code}"

    def connect_ssh(self, name="eve", key=None):
        return manager.connect(host="127.0.0.1", port=self.port, username=name, key_filename=f"{self.key}_{key or name}",
                               hostkey_verify=False, allow_agent=False, look_for_keys=False, timeout=PATIENCE)

    def connect_unix(self):
        handler = DefaultDeviceHandler({"name": "default"})
        session = UnixSession(handler)
        session.connect_unix(self.socket)
        return Manager(session, handler, timeout=PATIENCE)

    def raw(self, **options):
        return RawClient(self.socket, **options)


class Channel(socket.socket):
    """A socket that looks like a channel of SSH."""

    closed = False

    def send_ready(self):
        return True


class UnixSession(SSHSession):
    """ncclient's session, over a UNIX socket."""

    def connect_unix(self, path):
        self._channel = Channel(socket.AF_UNIX)
        self._channel.connect(path)
        self._connected = True
        self._post_connect()

    def close(self):
        self._closing.set()
        if self._channel:
            self._channel.close()
        self._channel = None
        self._connected = False


class RawClient:
    """Says hello, and then what it is told, byte by byte if that is wanted."""

    hello = ('<hello xmlns="{}"><capabilities><capability>urn:ietf:params:netconf:base:1.0</capability>{}'
             "</capabilities></hello>]]>]]>")

    def __init__(self, path, chunked=True, greets=True):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(PATIENCE)
        self.socket.connect(path)
        self.pending = bytearray()  # Cheap to take from in front.
        self.number = 0
        self.chunked = False
        if greets:
            version = "<capability>urn:ietf:params:netconf:base:1.1</capability>" if chunked else ""
            self.socket.sendall(self.hello.format(NETCONF, version).encode())
            self.capabilities = self.receive()
            self.session = int(re.search(r"<session-id>(\d+)<", self.capabilities).group(1))
            self.chunked = chunked

    def fill(self):
        data = self.socket.recv(1 << 20)
        if not data:
            raise EOFError("the server closed the session")
        self.pending += data

    def until(self, pattern):
        while not (found := re.search(pattern, self.pending)):
            self.fill()
        data, groups = bytes(self.pending[:found.start()]), found.groups()
        end = found.end()
        del found
        del self.pending[:end]
        return data, groups

    def receive(self):
        if not self.chunked:
            return self.until(rb"]]>]]>")[0].decode()
        parts = []
        while (size := bytes(self.until(rb"\A\n#(\d+|#)\n")[1][0])) != b"#":
            while len(self.pending) < int(size):
                self.fill()
            parts.append(bytes(self.pending[:int(size)]))
            del self.pending[:int(size)]
        return b"".join(parts).decode()

    def send(self, text):
        data = text if isinstance(text, bytes) else text.encode()
        self.socket.sendall(b"\n#%d\n%s\n##\n" % (len(data), data) if self.chunked else data + b"]]>]]>")

    def rpc(self, body):
        self.number += 1
        self.send(f'<rpc message-id="{self.number}" xmlns="{NETCONF}">{body}</rpc>')
        return self.receive()

    def edit(self, config, *more):
        return self.rpc(f"<edit-config><target><candidate/></target>{''.join(more)}<config>{config}</config></edit-config>")

    def close(self):
        self.socket.close()


def errors_of(reply):
    """The rpc-errors of a reply as dictionaries."""
    from lxml import etree
    errors = []
    for node in etree.fromstring(reply.encode()).findall("nc:rpc-error", SPACES):
        error = {etree.QName(child).localname[len("error-"):]: child.text for child in node}
        for child in node.findall("nc:error-info/*", SPACES):
            error[etree.QName(child).localname] = child.text
        errors.append(error)
    return errors


def braces_of(xpath):
    """A path as the operator knows it."""
    path = re.sub(r"\b[a-z-]+:(?=[\w-]+([=\[/]|$))", "", xpath or "")

    def keys(found):
        values = re.findall(r"\[[^=]+=(?:'([^']*)'|\"([^\"]*)\")\]", found.group(0))
        return "{" + " ".join(quoted(one or other) for one, other in values) + "}"
    return re.sub(r"(\[[^=\]]+=('[^']*'|\"[^\"]*\")\])+", keys, path)


def quoted(key):
    if key and not re.search(r"[\s{}]", key) and not key.startswith('"'):
        return key
    return '"' + key.replace("\\", "\\\\").replace('"', '\\"') + '"'
