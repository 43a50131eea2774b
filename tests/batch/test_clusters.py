# (c) the ztrace developers. Licence: see LICENSE.
"""The recipes of docs/clusters.md, with the job systems that are installed."""
import os
import re
import shutil
import socket
import subprocess
import time
import unittest

from batchsupport import BatchTest, picture
from support import PROGRAM

DOCS = os.path.join(os.environ["ZTRACE_SOURCE_DIR"], "docs")
COUNT = 30


def free_port():
    with socket.socket() as one:
        one.bind(("127.0.0.1", 0))
        return one.getsockname()[1]


class Clusters(BatchTest):
    def setUp(self):
        super().setUp()
        self.pictures(COUNT, "scans/deep")
        self.environment = {**os.environ, "PATH": os.path.dirname(PROGRAM) + ":" + os.environ["PATH"],
                            "SCANS": self.path("scans"), "DRAWINGS": self.path("out"), "HOME": self.folder}

    def every_picture_is_done_once(self):
        self.assertEqual(len([n for n in self.tree() if n.endswith(b".svg")]), COUNT)
        paths = [path for name in os.listdir(self.path("out")) if name.startswith("ztrace-results")
                 for path, _ in self.lines("out/" + name)]
        self.assertEqual(len(paths), COUNT)
        self.assertEqual(len(set(paths)), COUNT)

    def shell(self, text, **more):
        text = text.replace("/data/scans", self.path("scans")).replace("/data/drawings", self.path("out"))
        result = subprocess.run(["sh", "-c", text], cwd=self.folder, env={**self.environment, **more},
                                capture_output=True, timeout=600, check=False)
        self.assertEqual(result.returncode, 0, result)
        return result.stdout.decode()

    def block(self, heading):
        with open(DOCS + "/clusters.md") as file:
            return re.search("## %s\n.*?```sh\n(.*?)```" % heading, file.read(), re.S).group(1)

    def test_a_shared_folder(self):
        self.shell(self.block("Some machines and a shared folder"))
        self.every_picture_is_done_once()

    @unittest.skipUnless(shutil.which("parallel"), "parallel is not installed")
    def test_parallel(self):
        self.shell(self.block("GNU parallel").replace("16", "4"))
        self.every_picture_is_done_once()

    @unittest.skipUnless(shutil.which("snakemake"), "snakemake is not installed")
    def test_snakemake(self):
        self.shell(self.block("snakemake").replace("16", "4").replace("clusters/Snakefile", DOCS + "/clusters/Snakefile"))
        self.every_picture_is_done_once()
        self.assertEqual(len(self.read("out/summary.csv").splitlines()), COUNT + 1)

    @unittest.skipUnless(shutil.which("snakemake"), "snakemake is not installed")
    def test_snakemake_with_a_space_and_more_scans(self):
        os.rename(self.path("scans"), self.path("sp ace"))
        words = ["snakemake", "--snakefile", DOCS + "/clusters/Snakefile", "--cores", "2"]
        config = ["--config", "scans=" + self.path("sp ace"), "drawings=" + self.path("out"), "parts=2"]
        for more, count in ([], COUNT), (["--forcerun", "part"], COUNT + 1):
            result = subprocess.run(words + more + config, cwd=self.folder, env=self.environment, capture_output=True,
                                    timeout=600, check=False)
            self.assertEqual(result.returncode, 0, result)
            self.assertEqual(len(self.read("out/summary.csv").splitlines()), count + 1)
            self.assertEqual(len([n for n in self.tree() if n.endswith(b".svg")]), count)
            self.put("sp ace/more.png", picture(500))

    def test_the_printed_script_is_the_file(self):
        with open(DOCS + "/clusters/slurm.sh") as file:
            self.assertEqual(self.block("Slurm"), file.read())

    def test_kubernetes(self):
        with open(DOCS + "/clusters/kubernetes.yaml") as file:
            text = file.read()
        command = re.search(r">-\n((?: {14}.*\n)+)", text).group(1)
        parts = int(re.search(r"completions: (\d+)", text).group(1))
        for index in range(parts):
            self.shell(" ".join(command.split()), JOB_COMPLETION_INDEX=str(index))
        self.every_picture_is_done_once()

    @unittest.skipUnless(all(map(shutil.which, ("sbatch", "slurmctld", "slurmd", "munged"))), "slurm-wlm is not installed")
    def test_slurm(self):
        host = socket.gethostname().split(".")[0]
        user = subprocess.run(["id", "-un"], capture_output=True, text=True, check=True).stdout.strip()
        key = self.path("munge.key")
        with open(key, "wb") as file:
            file.write(os.urandom(128))
        os.chmod(key, 0o600)
        self.environment["SLURM_CONF"] = self.path("slurm.conf")
        self.write("slurm.conf", ("""ClusterName=one
SlurmctldHost=%(host)s(127.0.0.1)
SlurmctldPort=%(one)d
SlurmdPort=%(two)d
SlurmUser=%(user)s
SlurmdUser=%(user)s
AuthType=auth/munge
AuthInfo=socket=%(folder)s/munge.sock
StateSaveLocation=%(folder)s/state
SlurmdSpoolDir=%(folder)s/spool
SlurmctldPidFile=%(folder)s/slurmctld.pid
SlurmdPidFile=%(folder)s/slurmd.pid
SlurmctldLogFile=%(folder)s/slurmctld.log
SlurmdLogFile=%(folder)s/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
MpiDefault=none
SwitchType=switch/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
ReturnToService=2
SchedulerParameters=sched_interval=2,batch_sched_delay=0
NodeName=%(host)s NodeAddr=127.0.0.1 CPUs=%(cpus)d
PartitionName=main Nodes=%(host)s Default=YES MaxTime=03:00:00 State=UP
""" % {"host": host, "user": user, "folder": self.folder, "one": free_port(), "two": free_port(),
            "cpus": os.cpu_count()}).encode())
        os.makedirs(self.path("state"))
        daemons = [["munged", "--foreground", "--force", "--key-file=" + key, "--socket=" + self.path("munge.sock"),
                    "--pid-file=" + self.path("munged.pid"), "--log-file=" + self.path("munged.log"),
                    "--seed-file=" + self.path("munged.seed")], ["slurmctld", "-D"], ["slurmd", "-D", "-N", host]]
        running = []
        try:
            for daemon in daemons:
                running.append(subprocess.Popen(daemon, cwd=self.folder, env=self.environment, stdout=subprocess.DEVNULL,
                                                stderr=subprocess.DEVNULL))
                time.sleep(1)
            for _ in range(120):
                state = subprocess.run(["sinfo", "-h", "-o", "%T"], env=self.environment, capture_output=True, check=False)
                if state.stdout.strip() == b"idle":
                    break
                time.sleep(0.5)
            else:
                self.skipTest("slurm does not start here: %s" % state)
            job = self.shell("sbatch --parsable --array=1-4 --cpus-per-task=1 %s/clusters/slurm.sh" % DOCS).strip()
            for _ in range(600):
                if not self.shell("squeue -h -j %s 2> /dev/null || true" % job).strip():
                    break
                time.sleep(0.5)
            self.every_picture_is_done_once()
        finally:
            for process in reversed(running):
                process.terminate()
            for process in running:
                try:
                    process.wait(20)
                except subprocess.TimeoutExpired:
                    process.kill()
                    process.wait()


if __name__ == "__main__":
    unittest.main()
