"""The same sweeps on a Dask cluster of two worker processes."""
import pytest
from distributed import Client, LocalCluster

import qz3

PARAMS = {"R1.R": [500.0, 1e3, 2e3], "C1.C": [0.5e-6, 1e-6, 2e-6]}


@pytest.fixture(scope="module")
def client():
    with LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) as cluster:
        with Client(cluster) as connected:
            yield connected


def test_a_cluster_gives_the_numbers_of_local_processes(example, client):
    measure = lambda circuit: float(circuit.trace("V(C1)", at=[1e-3])[0])  # noqa: E731
    on_cluster = qz3.sweep(example("rc_lowpass.qz3"), PARAMS, measure, executor=client, time=2e-3)
    in_processes = qz3.sweep(example("rc_lowpass.qz3"), PARAMS, measure, workers=2, time=2e-3)
    assert len(on_cluster) == 9 and all("result" in record for record in on_cluster)
    assert on_cluster == in_processes
    # Both workers took part: each task ran in a process of the cluster.
    assert len(client.scheduler_info()["workers"]) == 2


def test_failures_on_a_cluster_stay_with_their_runs(example, client):
    def measure(circuit):
        if circuit["C1.C"] == 2e-6:
            raise ValueError("no use for this one")
        return circuit["R1.R"]
    records = qz3.sweep(example("rc_lowpass.qz3"), {"R1.R": [1e3, "1k+("], "C1.C": [1e-6, 2e-6]}, measure,
                        executor=client, time=1e-4)
    assert records[0] == {"R1.R": 1e3, "C1.C": 1e-6, "result": 1e3}
    assert records[1] == {"R1.R": 1e3, "C1.C": 2e-6, "error": "ValueError: no use for this one"}
    assert all(r["error"].startswith("QZ3_SetText: ") for r in records[2:])
