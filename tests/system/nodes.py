"""Two hosts for a test: namespaces of this machine, each with a name, a network and a /tmp of its own."""

import os
import pathlib
import shlex
import shutil
import subprocess
import tempfile

ADDRESSES = {"nodea": "10.213.7.2", "nodeb": "10.213.7.3"}
TOOLS = ("ip", "mount", "nsenter", "unshare")


class Unavailable(Exception):
    """Says why this machine can't have them."""


class Nodes:
    """What is in `shared` is the same on both; the rest of /tmp isn't."""

    def __init__(self, root, shared):
        missing = [tool for tool in TOOLS if not shutil.which(tool)]
        if missing:
            raise Unavailable(f"Requires {', '.join(missing)}")
        if os.geteuid() != 0:
            raise Unavailable("Requires root, to make network namespaces")
        self.root = root
        self.holders = {}
        try:
            for name in ADDRESSES:
                self._make(name, shared)
            self._connect()
        except (OSError, subprocess.CalledProcessError) as error:
            self.close()
            detail = getattr(error, "stderr", None)
            raise Unavailable(f"Requires namespaces: {detail.decode().strip() if detail else error}") from error
        self._write_starter()

    def _make(self, name, shared):
        temporary = self.root / f"tmp-{name}"
        temporary.mkdir()
        hosts = self.root / "hosts"
        hosts.write_text("127.0.0.1 localhost\n" + "".join(f"{a} {n}\n" for n, a in ADDRESSES.items()))
        lines = [f"mount -t tmpfs -o mode=1777 quillon-test {shlex.quote(str(temporary))}"]
        for folder in [folder for folder in shared if str(folder).startswith("/tmp/")]:
            inside = shlex.quote(str(temporary / folder.relative_to("/tmp")))
            lines += [f"mkdir -p {inside}", f"mount --bind {shlex.quote(str(folder))} {inside}"]
        lines += [
            f"mount --bind {shlex.quote(str(hosts))} /etc/hosts",
            f"mount --rbind {shlex.quote(str(temporary))} /tmp",
            f"echo {name} > /proc/sys/kernel/hostname",
            "ip link set lo up",
            "echo ready",
            "exec cat",  # until this process, however it ends, has closed the pipe
        ]
        # No process of the test's own is in the namespaces, so nothing else keeps them.
        holder = subprocess.Popen(
            ["unshare", "--uts", "--mount", "--net", "sh", "-e", "-c", "\n".join(lines)],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
        )
        self.holders[name] = holder
        if holder.stdout.readline() != b"ready\n":
            raise OSError(holder.stderr.read().decode().strip())

    def _connect(self):
        pids = {name: str(holder.pid) for name, holder in self.holders.items()}
        self._check(["nsenter", "-t", pids["nodea"], "-n", "ip", "link", "add", "eth0", "type", "veth",
                     "peer", "name", "eth0", "netns", pids["nodeb"]])
        for name, address in ADDRESSES.items():
            self._check(self.on(name, "ip", "addr", "add", f"{address}/24", "dev", "eth0"))
            self._check(self.on(name, "ip", "link", "set", "eth0", "up"))

    @staticmethod
    def _check(command):
        subprocess.run(command, check=True, capture_output=True)

    def _write_starter(self):
        """A stand-in for ssh: NODE WORDS..."""
        self.starter = self.root / "bin" / "start-on-node"
        self.starter.parent.mkdir(exist_ok=True)
        cases = "\n".join(
            f"{name}|{address}) pid={self.holders[name].pid} ;;" for name, address in ADDRESSES.items()
        )
        self.starter.write_text(
            "#!/bin/sh\n"
            f"while :; do case $1 in -*) shift ;; *) break ;; esac; done\n"
            f"case $1 in\n{cases}\n*) echo no such node: $1 >&2; exit 255 ;;\nesac\n"
            "shift\n"
            'exec nsenter -t $pid -u -m -n sh -c "cd $PWD; $*"\n'
        )
        self.starter.chmod(0o755)

    def on(self, name, *words, folder="/"):
        """The command that runs another one on a node, in a folder there."""
        into = ["nsenter", "-t", str(self.holders[name].pid), "-u", "-m", "-n"]
        return [*into, "sh", "-c", 'cd "$0" && exec "$@"', str(folder), *words]

    def has(self, process):
        """Whether a process, by its folder in /proc, is one of a node."""
        places = [os.readlink(f"/proc/{holder.pid}/ns/mnt") for holder in self.holders.values()]
        return os.readlink(process / "ns" / "mnt") in places

    def files(self, name, folder="/tmp"):
        """The names in a folder of a node."""
        result = subprocess.run(self.on(name, "ls", "-A", folder), check=True, capture_output=True)
        return sorted(result.stdout.decode().splitlines())

    def close(self):
        for holder in self.holders.values():
            holder.stdin.close()
            holder.kill()
            holder.wait()
            holder.stdout.close()
            holder.stderr.close()
        self.holders = {}
