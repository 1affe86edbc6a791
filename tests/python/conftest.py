"""The registers of the Python tests: verda-sim processes, each on a free
TCP port of 127.0.0.1. The build (CTest) gives VERDA_SIM, the simulator to
run, and VERDA_LIBRARY, the library the package loads."""

import os
import subprocess

import pytest


class Simulator:
    """A running verda-sim; its paper goes to a file of the test."""

    def __init__(self, folder):
        self.paper = folder / "paper.txt"
        self.process = subprocess.Popen(
            [os.environ["VERDA_SIM"], "--tcp", "127.0.0.1:0", "--paper", str(self.paper)],
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        first = self.process.stdout.readline().strip()  # "127.0.0.1:PORT"
        host, _, port = first.rpartition(":")
        if not port.isdigit():
            self.stop()
            raise RuntimeError(f"verda-sim printed no address: {first!r}")
        self.host, self.port = host, int(port)

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
        self.process.wait(timeout=30)
        self.process.stdout.close()


@pytest.fixture
def simulators(tmp_path):
    """simulators(n): n running simulators, stopped after the test."""
    started = []

    def start(count=1):
        for i in range(count):
            folder = tmp_path / f"register{len(started)}"
            folder.mkdir()
            started.append(Simulator(folder))
        return started[-count:]

    yield start
    for simulator in started:
        simulator.stop()


@pytest.fixture
def simulator(simulators):
    return simulators(1)[0]
