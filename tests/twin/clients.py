#!/usr/bin/python3
"""Real clients: ncclient with each of its ways to raise errors, over SSH, TLS and a UNIX socket; libnetconf2; ssh itself.

usage: clients.py GPON_TWIN GENERIC_CLIENT
"""
import os
import ssl
import subprocess
import sys
import tempfile

from lxml import etree
from ncclient.operations import RaiseMode, RPCError
from ncclient.transport.errors import AuthenticationError
from ncclient.xml_ import to_ele

from twin import CONFIRM, NETCONF, Channel, RawClient, Twin

HERE = os.path.dirname(os.path.abspath(__file__))
CONFIG = f'<config xmlns="{NETCONF}"><config xmlns="urn:olt:gpon:base"><interface>{{}}</interface></config></config>'
LINK = "<gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>{}</port-id>{}</gpon>"
FEC = CONFIG.format(LINK.format(2, "<downstream-fec>{}</downstream-fec>"))
TWICE = CONFIG.format(LINK.format(
    1, "<onu><onu-id>2</onu-id><auth-method><serial-number>ALCL00000A01</serial-number></auth-method></onu>"))
COMMIT = f'<commit xmlns="{NETCONF}"><confirm-warnings xmlns="{CONFIRM}"/></commit>'


def raised(call):
    try:
        return None, call()
    except RPCError as error:
        return error, None


def check_errors(client, value):
    """A rejection and a warning raise in the modes that raise at all; an unconfirmed warning changes nothing."""
    for mode in (RaiseMode.ALL, RaiseMode.ERRORS, RaiseMode.NONE):
        client.raise_mode = mode
        client.discard_changes()
        client.edit_config(target="candidate", config=TWICE)
        error, reply = raised(client.commit)
        assert (error is None) == (mode == RaiseMode.NONE) and (reply is None or not reply.ok), (mode, error, reply)
        told = error or reply.error
        assert told.tag == "operation-failed" and "must be unique" in told.message, told
        client.discard_changes()
        client.edit_config(target="candidate", config=FEC.format(value))
        error, reply = raised(client.commit)
        assert (error is None) == (mode == RaiseMode.NONE) and (reply is None or not reply.ok), (mode, error, reply)
        told = error.errors if error and getattr(error, "errors", None) else reply.errors if reply else [error]
        assert told[0].severity == "error" and told[0].app_tag == "confirmation-required", told
        assert f"<downstream-fec>{value}" not in client.get_config("running").data_xml.split("<port-id>2<")[1]
    client.raise_mode = RaiseMode.ALL
    assert client.dispatch(to_ele(COMMIT)).ok
    assert f"<downstream-fec>{value}" in client.get_config("running").data_xml.split("<port-id>2<")[1]


def check_operations(client):
    data = client.get(("subtree", '<netconf-state xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"/>')).data
    assert len(data.findall(".//{*}schema")) > 5
    assert client.get_schema("base").data.startswith("module base {")
    assert any(CONFIRM in one for one in client.server_capabilities)
    with client.locked("candidate"):
        client.edit_config(target="candidate", config=CONFIG.format(LINK.format(7, "")), default_operation="merge")
        client.validate("candidate")
        client.discard_changes()
    xpath = ("xpath", ({"b": "urn:olt:gpon:base"}, "//b:onu[b:onu-id='2']"))
    assert [one.text for one in client.get_config("running", xpath).data.iter("{*}onu-id")] == ["2"]
    etree.fromstring(client.get(with_defaults="report-all").xml.encode())


def check_door(twin):
    for name, key in (("mallory", "eve"), ("olga", "eve"), ("eve", "vera")):
        try:
            twin.connect_ssh(name, key)
            raise SystemExit(f"{name} came in with the key of {key}")
        except AuthenticationError:
            pass
    keys = os.path.join(twin.state, "authorized_keys")
    with open(keys, encoding="utf-8") as file:
        lines = [line for line in file if 'name="vera"' not in line]
    with open(keys, "w", encoding="utf-8") as file:
        file.writelines(lines)
    try:
        twin.connect_ssh("vera")
        raise SystemExit("vera came in with a key that was taken out")
    except AuthenticationError:
        pass


def check_ssh_program(twin):
    """OpenSSH: the subsystem, and nothing else."""
    words = ["ssh", "-F", "none", "-p", str(twin.port), "-i", f"{twin.key}_eve", "-o", "StrictHostKeyChecking=no", "-o", "BatchMode=yes",
             "-o", "UserKnownHostsFile=/dev/null", "-o", "IdentitiesOnly=yes", "-o", "LogLevel=ERROR", "eve@127.0.0.1"]
    hello = RawClient.hello.format(NETCONF, "") + f'<rpc message-id="1" xmlns="{NETCONF}"><close-session/></rpc>]]>]]>'
    told = subprocess.run([*words, "-s", "netconf"], input=hello, stdout=subprocess.PIPE, text=True, timeout=60, check=False).stdout
    assert "<session-id>" in told and "<ok/>" in told, told
    refused = subprocess.run([*words, "id"], input="", capture_output=True, text=True, timeout=60, check=False)
    assert refused.returncode != 0 and "uid=" not in refused.stdout, refused


def check_ephemeral(program):
    """Nothing is left of it."""
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "card.sock")
        words = [program, "--running", os.path.join(HERE, "running.xml"), "--ephemeral", "--no-ssh", "--unix", path]
        with subprocess.Popen(words, stdout=subprocess.PIPE, text=True, env=dict(os.environ, TMPDIR=folder)) as server:
            assert path in server.stdout.readline()
            client = RawClient(path)
            client.edit(CONFIG.format(LINK.format(7, "")).split(">", 1)[1].rsplit("<", 1)[0])
            assert "<ok/>" in client.rpc("<commit/>")
            server.terminate()
        assert server.returncode == 0 and not os.listdir(folder), os.listdir(folder)


def check_xml(twin):
    """xmllint has nothing to say to replies, whatever is in the configuration."""
    client = twin.raw()
    text = "&lt;&amp;&gt;]]&gt;'\"\u00e9\u4e16"
    client.edit(CONFIG.format(LINK.format(1, f"<onu><onu-id>1</onu-id><description>{text}</description></onu>")).split(">", 1)[1].rsplit("<", 1)[0])
    for request in ("<get/>", "<get-config><source><candidate/></source></get-config>", "<commit/>", "<make-coffee/>", "<discard-changes/>",
                    "<lock><target><url>&lt;]]&gt;</url></target></lock>"):
        subprocess.run(["xmllint", "--noout", "-"], input=client.rpc(request).encode(), check=True)


def make_certificates(folder):
    def path(name):
        return os.path.join(folder, name)

    def openssl(*words):
        subprocess.run(["openssl", *words], check=True, stderr=subprocess.DEVNULL)
    for name in ("ca", "other-ca"):
        openssl("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-subj", f"/CN={name}",
                "-keyout", path(f"{name}.key"), "-out", path(f"{name}.pem"))
    for name, authority in (("server", "ca"), ("eve", "ca"), ("mallory", "ca"), ("forged", "other-ca")):
        common_name = "eve" if name == "forged" else name
        openssl("req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-subj", f"/CN={common_name}",
                "-keyout", path(f"{name}.key"), "-out", path(f"{name}.csr"))
        openssl("x509", "-req", "-in", path(f"{name}.csr"), "-CA", path(f"{authority}.pem"), "-CAkey", path(f"{authority}.key"),
                "-out", path(f"{name}.pem"))
    return path


def check_tls(twin, path):
    import re
    import socket
    port = int(re.search(r"TLS \S+ port (\d+)", twin.greeting).group(1))
    for name in (None, "mallory", "forged", "eve"):
        context = ssl.create_default_context(cafile=path("ca.pem"))
        context.check_hostname = False
        if name:
            context.load_cert_chain(path(f"{name}.pem"), path(f"{name}.key"))
        try:
            with context.wrap_socket(socket.create_connection(("127.0.0.1", port), timeout=20)) as tls:
                client = RawClient.__new__(RawClient)
                client.socket, client.pending, client.number, client.chunked = tls, bytearray(), 0, False
                tls.sendall(RawClient.hello.format(NETCONF, "").encode())
                told = client.receive() + client.rpc("<get-config><source><running/></source></get-config>")
            assert name == "eve" and "rose" in told, name
        except (EOFError, OSError) as why:
            assert name != "eve", why


def main():
    with Twin([sys.argv[1]], os.path.join(HERE, "running.xml"), card=os.path.join(HERE, "card.json")) as twin:
        with twin.connect_ssh() as client:
            check_errors(client, "false")
            check_operations(client)
        with twin.connect_unix() as client:
            check_errors(client, "true")
            check_operations(client)
        check_ssh_program(twin)
        assert subprocess.check_output([sys.argv[2], twin.socket], text=True) == "config\n"
        check_xml(twin)
        check_door(twin)
    check_ephemeral(sys.argv[1])
    twin = Twin([sys.argv[1]], os.path.join(HERE, "running.xml"))
    path = make_certificates(twin.state)
    twin.words += ["--tls", path("server.pem"), "--tls-key", path("server.key"), "--tls-ca", path("ca.pem"), "--tls-port", "0"]
    with twin:
        check_tls(twin, path)
    print("ncclient in all modes over SSH and the UNIX socket, libnetconf2, ssh, TLS: passed")


main()
