#!/usr/bin/env python3
"""Bundles that mean harm, or are broken, are refused: nothing is written, and little is read.

Usage: hostile.py CASE --limited|--unlimited GPON_VALIDATE...

CASE is a golden case, from which a good bundle is made. The memory of a program with sanitizers cannot be limited.
"""
import io
import pathlib
import resource
import subprocess
import sys
import tarfile
import tempfile

MEMORY = 1500 << 20  # More than any of these may take.


def compressed(data):
    return subprocess.run(["zstd", "-q", "-1", "-c"], input=data, stdout=subprocess.PIPE, check=True).stdout


def entry(name, content=b"x", **more):
    info = tarfile.TarInfo(name)
    info.size = len(content)
    for member, value in more.items():
        setattr(info, member, value)
    return info, content if info.isreg() else b""


def archive(*entries, form=tarfile.PAX_FORMAT):
    text = io.BytesIO()
    with tarfile.open(fileobj=text, mode="w", format=form) as packed:
        for info, content in entries:
            packed.addfile(info, io.BytesIO(content))
    return text.getvalue()


def link(kind, name="report.txt"):
    return archive(entry(name, b"", type=kind, linkname="/etc/passwd"))


def limit_memory():
    resource.setrlimit(resource.RLIMIT_DATA, (MEMORY, MEMORY))


def cases(good):
    """Bytes of a bundle, and what is said about it."""
    files = []
    with tarfile.open(fileobj=io.BytesIO(good)) as packed:
        files = [(info, packed.extractfile(info).read()) for info in packed]
    manifest = next(content for info, content in files if info.name == "bundle.json")
    others = [each for each in files if each[0].name != "bundle.json"]
    bomb = archive(entry("trace.txt", bytes(700 << 20)))

    def with_manifest(old, new):
        assert old in manifest, old
        return archive(entry("bundle.json", manifest.replace(old, new)), *others)
    yield "climbs out", archive(entry("../../etc/evil")), "a name that no bundle has"
    yield "climbs out later", archive(entry("inputs/../../evil")), "a name that no bundle has"
    yield "absolute", archive(entry("/tmp/evil")), "a name that no bundle has"
    yield "control characters", archive(entry("a\x1b[2Jb")), "a name that no bundle has"
    yield "symbolic link", link(tarfile.SYMTYPE), "no plain file"
    yield "hard link", link(tarfile.LNKTYPE), "no plain file"
    yield "device", archive(entry("trace.txt", b"", type=tarfile.CHRTYPE, devmajor=1, devminor=5)), "no plain file"
    yield "pipe", archive(entry("trace.txt", b"", type=tarfile.FIFOTYPE)), "no plain file"
    yield "folder", archive(entry("inputs", b"", type=tarfile.DIRTYPE)), "no plain file"
    yield "there twice", archive(*files, files[0]), "is there twice"
    yield "bomb", bomb, "more is packed in it than the limit"
    yield "many files", archive(*(entry(f"inputs/{i}") for i in range(20000))), "too many files"
    yield "cut", good[:len(good) // 2], "bundle"
    yield "empty archive", archive(), "no bundle"
    yield "missing manifest", archive(*others), "no bundle"
    yield "missing input", archive(*(each for each in files if not each[0].name.startswith("inputs/"))), "no bundle"
    yield "malformed manifest", archive(entry("bundle.json", b"{"), *others), "no bundle"
    yield "deep manifest", archive(entry("bundle.json", b"[" * 200000), *others), "no bundle"
    yield "other form", with_manifest(b'"form": 1', b'"form": 2'), "another version of gpon-validate"
    yield "wrong type", with_manifest(b'"edit": [', b'"edit": [ 5,'), "no bundle"


def main():
    case, limited, *program = sys.argv[1:]
    program[-1] = str(pathlib.Path(program[-1]).resolve())
    wrong = 0
    with tempfile.TemporaryDirectory() as folder:
        bundle = pathlib.Path(folder, "bundle.tar.zst")
        subprocess.run([*program, "check", "--running", "../running.xml", "--edit", "change.xml", "--bundle", bundle],
                       cwd=case, stdout=subprocess.DEVNULL, check=False)
        good = subprocess.run(["zstd", "-dqc", bundle], stdout=subprocess.PIPE, check=True).stdout
        texts = [(name, compressed(data), said) for name, data, said in cases(good)]
        texts += [("empty file", b"", "empty"), ("no archive", b"hello", "no bundle"),
                  ("cut while compressed", compressed(good)[:-20], "bundle")]
        for name, text, said in texts:
            bundle.write_bytes(text)
            done = subprocess.run([*program, "replay", bundle], cwd=folder, capture_output=True, timeout=60, check=False,
                                  preexec_fn=limit_memory if limited == "--limited" else None)
            errors = done.stderr.decode()
            if done.returncode != 3 or said not in errors or done.stdout or "\x1b" in errors:
                wrong += 1
                print(f"{name}: exit code {done.returncode}: {done.stdout[:200]} {errors[:300]}")
            if list(pathlib.Path(folder).iterdir()) != [bundle]:
                wrong += 1
                print(f"{name}: something was written")
    print(f"{len(texts)} bundles, {wrong} faults.")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
