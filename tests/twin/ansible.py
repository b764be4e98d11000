#!/usr/bin/python3
"""Ansible's netconf_config: a change, a rejection and a warning that nobody has confirmed.

usage: ansible.py GPON_TWIN
"""
import os
import subprocess
import sys
import tempfile

from twin import Twin

HERE = os.path.dirname(os.path.abspath(__file__))
PLAYBOOK = """
- hosts: card
  gather_facts: false
  tasks:
    - name: change
      ansible.netcommon.netconf_config:
        target: candidate
        lock: always
        content: |
          <config xmlns="urn:ietf:params:xml:ns:netconf:base:1.0"><config xmlns="urn:olt:gpon:base"><interface><gpon>
          <chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>{link}</port-id>{content}</gpon></interface></config></config>
"""
ONU = "<onu><onu-id>{}</onu-id>{}</onu>"
# The link, what is set there, whether the task succeeds, and what it tells if not.
TASKS = [(1, ONU.format(1, "<description>by Ansible</description>"), True, ""),
         (1, ONU.format(1, "<description>by Ansible</description>"), True, ""),
         (1, ONU.format(2, "<auth-method><serial-number>ALCL00000A01</serial-number></auth-method>"), False, "must be unique"),
         (2, "<downstream-fec>false</downstream-fec>", False, "wants its warnings about this change to be confirmed")]


def main():
    with Twin([sys.argv[1]], os.path.join(HERE, "running.xml"), card=os.path.join(HERE, "card.json")) as twin:
        with tempfile.TemporaryDirectory() as folder:
            inventory, playbook = os.path.join(folder, "hosts"), os.path.join(folder, "play.yml")
            with open(inventory, "w", encoding="utf-8") as file:
                file.write(f"card ansible_host=127.0.0.1 ansible_port={twin.port} ansible_user=eve ansible_connection=ansible.netcommon.netconf "
                           f"ansible_ssh_private_key_file={twin.key}_eve ansible_python_interpreter=/usr/bin/python3\n")
            environment = dict(os.environ, ANSIBLE_HOST_KEY_CHECKING="False", ANSIBLE_HOME=folder, ANSIBLE_LOCAL_TEMP=folder,
                               ANSIBLE_PERSISTENT_CONTROL_PATH_DIR=folder)
            for link, content, succeeds, text in TASKS:
                with open(playbook, "w", encoding="utf-8") as file:
                    file.write(PLAYBOOK.format(link=link, content=content))
                told = subprocess.run(["ansible-playbook", "-i", inventory, playbook], env=environment, capture_output=True, text=True,
                                      timeout=300, check=False)
                assert (told.returncode == 0) == succeeds and text in told.stdout, (content, told)
                print(f"{'changed' if succeeds else 'refused'}: {content}", flush=True)
                twin.raw().rpc("<discard-changes/>")
        running = twin.raw().rpc("<get-config><source><running/></source></get-config>")
        assert "by Ansible" in running and "ALCL00000A02" in running and "<downstream-fec>true" in running, running


main()
