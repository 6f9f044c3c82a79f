# Parts on a real Slurm, which the test starts on the loopback interface; .ci/run runs it.

import os
import shutil
import signal
import socket
import subprocess
import time
from pathlib import Path

import numpy as np

import harness

SUBMIT = str(Path(__file__).parents[2] / "packaging/lumomixcalc-slurm")
CONFIGURATION = """\
ClusterName=test, SlurmctldHost={host}(127.0.0.1), SlurmctldPort={ports[0]}, SlurmdPort={ports[1]}
CommunicationParameters=NoCtldInAddrAny,NoInAddrAny
AuthInfo=socket={folder}/munge.socket,cred_expire=5
SlurmUser=root, ProctrackType=proctrack/pgid, SlurmdParameters=config_overrides, JobRequeue=0
SelectType=select/cons_tres, SchedulerParameters=sched_interval=1,batch_sched_delay=0
StateSaveLocation={folder}/state, SlurmctldPidFile={folder}/slurmctld.pid
SlurmdSpoolDir={folder}/spool, SlurmdPidFile={folder}/slurmd.pid
NodeName={host} NodeAddr=127.0.0.1 CPUs=4
PartitionName=all Nodes={host} Default=YES
""".replace(", ", "\n")


class Slurm(harness.ProgramTest):
    def setUp(self):
        super().setUp()
        if os.geteuid() != 0 or not all(map(shutil.which, ("munged", "slurmctld", "slurmd"))):
            self.skipTest("not root, or one of munged, slurmctld and slurmd is not installed")
        folder = self.path("slurm")
        os.makedirs(f"{folder}/spool")
        loopback = "127.0.0.1", 0
        with socket.create_server(loopback) as one, socket.create_server(loopback) as other:
            ports = one.getsockname()[1], other.getsockname()[1]
        Path(f"{folder}/slurm.conf").write_text(CONFIGURATION.format(
            folder=folder, host=socket.gethostname().split(".")[0], ports=ports))
        self.environment = {**os.environ, "SLURM_CONF": f"{folder}/slurm.conf",
                            "PATH": f"{Path(harness.PROGRAM).parent}:{os.environ['PATH']}"}
        self.call("mungekey", f"--keyfile={folder}/key")
        self.start("munged", "--foreground", "--force", f"--key-file={folder}/key",
                   *(f"--{name}-file={folder}/munge.{name}" for name in ("pid", "log", "seed")),
                   f"--socket={folder}/munge.socket")
        self.wait_for("munged", lambda: os.path.exists(f"{folder}/munge.socket"))
        self.start("slurmctld", "-D")
        self.start("slurmd", "-D")
        self.addCleanup(self.wait_for, "end of the jobs", lambda: not self.jobs())
        self.addCleanup(self.call, "scancel", "--user=root", check=False)
        self.wait_for("node", lambda: "idle" in self.call("sinfo", "-h", check=False).stdout)

    def start(self, *command):
        """Starts a daemon that ends with the test, even when the test is killed."""
        with open(self.path(f"slurm/{command[0]}.out"), "w") as log:
            daemon = subprocess.Popen(["setpriv", "--pdeathsig", "KILL", *command],
                                      env=self.environment, stdout=log, stderr=log)
        self.addCleanup(daemon.wait, 60)
        self.addCleanup(daemon.terminate)

    def call(self, *command, check=True):
        return subprocess.run(command, env=self.environment, cwd=self.folder, timeout=60, text=True,
                              capture_output=True, check=check)

    def wait_for(self, what, happened):
        """Waits until a function returns something true, and returns it."""
        end = time.monotonic() + 200
        while not (result := happened()):
            self.assertLess(time.monotonic(), end, f"no {what}")
            time.sleep(0.05)
        return result

    def jobs(self):
        return self.call("squeue", "-h", "-r", "-o", "%i").stdout.split()

    def stop_a_part(self):
        """Stops the program while it writes a part, and gives the part's number."""
        for raster in self.temporary_files():
            number = os.path.basename(raster).split("-")[0]
            found = self.call("pgrep", "-f", f"part={number}/16 {self.a}", check=False).stdout
            if found:
                os.kill(int(found), signal.SIGSTOP)
                return os.path.exists(raster) and number
        return None

    def test_array_and_join(self):
        noise = np.random.default_rng(1).normal(size=(1024, 1024))
        harness.write(self.a, noise.astype(np.complex64))
        # A codec that is slow enough for a part to be stopped at work.
        options = "-operator=1+b_pow_a", "-a=0.5:1", "-co", "COMPRESS=LZMA"
        report = self.done(self.a, self.out, *options).stdout
        mosaic = self.path("of two.vrt")
        submission = "16", "--time=5", "--", self.a, *options, f"-save={mosaic}"
        _, array, _, join = self.call(SUBMIT, *submission).stdout.replace(",", "").split()
        part = self.wait_for("part that is being written", self.stop_a_part)
        self.call("scontrol", "requeue", f"{array}_{part}")
        self.assertFalse(os.path.exists(self.path(f"of two.parts/{part}-of-16.tif")))
        self.wait_for("end of the jobs", lambda: not self.jobs())
        print(*(path.read_text() for path in Path(self.folder).glob("slurm-*.out")))
        np.testing.assert_array_equal(harness.read(mosaic), harness.read(self.out))
        self.assertEqual(Path(self.path(f"slurm-{join}.out")).read_text(), report)

        new = self.a, self.path("new.vrt"), "-operator=a1+b"
        sbatch = Path(self.path("sbatch"))  # refuses the join
        sbatch.write_text('#!/bin/sh\ncase "$*" in *depend*) exit 1; esac\n'
                          f'{shutil.which("sbatch")} "$@" | sed "s/$/;cluster/"')
        sbatch.chmod(0o755)
        for path, *arguments in (
                ("", "0", "--", *new), ("", "2", "--mem=1", *new), ("", "2", "--array=1", "--", *new),
                ("", "2", "--", "none", *new), ("", "2", "--", *new, "-a=x"),
                ("", "1025", "--", *new), ("", "2", "--", *new, "-part=1/2"), ("", *submission),
                ("", "2", "--", *new, "-check"), ("", "2", "--", "-operators"), ("", "2", "-a1", "--", *new),
                (f"{self.folder}:", "2", "--hold", "--", *new)):
            result = self.call("env", f"PATH={path}{self.environment['PATH']}", SUBMIT, *arguments,
                               check=False)
            self.assertEqual([result.returncode > 0, result.stdout, *self.jobs()], [True, ""])
            if not path:
                self.assert_one_sentence(result.stderr.replace("-slurm:", ":", 1), "")
        # Of parts that fail no mosaic is made.
        _, array, _, join = self.call(SUBMIT, "16%1", "--hold", *submission[2:], "-overwrite", "-strict"
                                      ).stdout.replace(",", "").split()
        self.assertIn(f"{array}_[1-16%1]", self.call("squeue", "-h", "-o", "%i").stdout)
        script = self.call("scontrol", "write", "batch_script", join, "-").stdout
        self.assertRegex(script, r"lumomixcalc'? -join='.*of two\.vrt' -overwrite -strict\n")
        os.remove(self.a)
        self.call("scontrol", "release", array, join)
        self.wait_for("end of the jobs", lambda: not self.jobs())
        self.assertFalse(os.path.exists(self.path(f"slurm-{join}.out")))
