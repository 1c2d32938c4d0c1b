"""Parameter sweeps and Monte Carlo runs over many processes or a Dask cluster.

Each run is one task: it writes the schematic's bytes to a private temporary
file (once per worker process), opens its own circuit, sets the run's values,
runs, and gives back what ``measure`` made of the open circuit. No task
shares a circuit, so the runs need nothing from each other and the workers
need no shared disk. ``measure`` travels as cloudpickle bytes, so a lambda or
a local function works on every executor.
"""
import atexit
import concurrent.futures
import hashlib
import itertools
import multiprocessing
import os
import shutil
import tempfile
import threading

import cloudpickle
import numpy as np

from .circuit import Circuit
from .errors import Qz3Error

# -- random draws for samples= ----------------------------------------------


def uniform(low, high):
    """A value drawn evenly between low and high, for ``samples=`` sweeps."""
    return lambda rng: float(rng.uniform(low, high))


def normal(mean, deviation):
    """A value of a normal distribution, for ``samples=`` sweeps."""
    return lambda rng: float(rng.normal(mean, deviation))


def grid(params):
    """The runs of a full grid: every combination, the last name changing fastest."""
    names = list(params)
    for name in names:
        if isinstance(params[name], (str, bytes)) or not hasattr(params[name], "__iter__"):
            raise Qz3Error(f"sweep values of {name} are not a list")
    return [dict(zip(names, values)) for values in itertools.product(*(list(params[n]) for n in names))]


def draws(params, samples, seed=None):
    """``samples`` runs of random values: a callable is given a NumPy generator,
    a list is drawn from, a number stays as it is."""
    rng = np.random.default_rng(seed)

    def draw(spec):
        if callable(spec):
            return spec(rng)
        if isinstance(spec, (list, tuple, np.ndarray)):
            return spec[int(rng.integers(len(spec)))]
        return spec
    return [{name: draw(spec) for name, spec in params.items()} for _ in range(int(samples))]


# -- one run, in a worker ----------------------------------------------------

_files = {}
_folder = None
_files_lock = threading.Lock()  # runs of a thread pool share this process's copies


def _local_copy(name, content):
    """The schematic as a file of this process, written once per content."""
    global _folder
    key = hashlib.sha1(content).hexdigest()
    with _files_lock:
        path = _files.get(key)
        if path is None:
            if _folder is None:
                _folder = tempfile.mkdtemp(prefix="qz3-sweep-")
                atexit.register(shutil.rmtree, _folder, True)
            os.makedirs(os.path.join(_folder, key))
            path = os.path.join(_folder, key, name)
            with open(path, "wb") as file:
                file.write(content)
            _files[key] = path
    return path


def _measure_traces(names):
    return lambda circuit: {name: circuit.trace(name) for name in names}


def run_one(name, content, params, measure, run):
    """One run: a record of its values and "result", or "error" with the reason."""
    record = dict(params)
    try:
        measure = cloudpickle.loads(measure)
        with Circuit(_local_copy(name, content)) as circuit:
            for key, value in params.items():
                circuit[key] = value
            if run is not None:
                circuit.run(**run)
            record["result"] = measure(circuit)
    except Qz3Error as error:
        record["error"] = str(error)
    except Exception as error:  # the user's measure: its failure is that run's only
        record["error"] = f"{type(error).__name__}: {error}"
    return record


# -- executors ----------------------------------------------------------------


def _is_dask_client(executor):
    return type(executor).__module__.split(".")[0] == "distributed" and hasattr(executor, "scatter")


def _on_dask(client, name, content, runs, measure, run):
    # The file travels once to each worker, not once per task.
    shared = client.scatter(content, broadcast=True)
    futures = [client.submit(run_one, name, shared, params, measure, run, pure=False) for params in runs]
    return [_outcome(future, params) for future, params in zip(futures, runs)]


def _on_executor(executor, name, content, runs, measure, run):
    futures = [executor.submit(run_one, name, content, params, measure, run) for params in runs]
    return [_outcome(future, params) for future, params in zip(futures, runs)]


def _outcome(future, params):
    # run_one keeps its own failures; what arrives here is a worker that died.
    try:
        return future.result()
    except Exception as error:
        return dict(params, error=f"worker failed: {type(error).__name__}: {error}")


def _process_pool(workers):
    # Workers fork from a server process that has imported the package once,
    # not from the caller: a fork of the caller would inherit its threads
    # (a Dask client's, say) and its open circuits; a fresh interpreter per
    # worker would import NumPy again each time.
    context = multiprocessing.get_context("forkserver")
    context.set_forkserver_preload(["qz3"])
    return concurrent.futures.ProcessPoolExecutor(workers, mp_context=context)


def _killed_by_pool(record):
    return "BrokenProcessPool" in record.get("error", "")


def _in_processes(workers, name, content, runs, measure, run):
    with _process_pool(workers) as pool:
        records = _on_executor(pool, name, content, runs, measure, run)
    # A process that dies takes every run still pending in its pool with it.
    # Those runs are made again one at a time in a pool of one process, so
    # that a pool that breaks now names the run that broke it.
    pool = None
    for i, record in enumerate(records):
        if not _killed_by_pool(record):
            continue
        pool = pool or _process_pool(1)
        records[i] = _outcome(pool.submit(run_one, name, content, runs[i], measure, run), runs[i])
        if _killed_by_pool(records[i]):
            pool.shutdown()
            pool = None
    if pool:
        pool.shutdown()
    return records


def sweep(path, params, measure, executor=None, samples=None, seed=None, workers=None,
          time=None, step=None, run=True):
    """Runs the circuit of ``path`` once per combination of ``params`` values.

    ``params`` maps parameter names ("R1.R") to lists of values (numbers or
    texts); the runs are the full grid in order, the last name changing
    fastest. With ``samples=N`` there are N runs of random values instead:
    each entry is then a callable given a NumPy generator (``qz3.uniform``,
    ``qz3.normal``), a list to draw from, or a fixed value; ``seed`` repeats
    them.

    ``measure`` is a callable given the open circuit after its run, or a
    trace name or list of names (the result is then a dict name: (t, v)).
    With ``run=False`` the circuit is handed over unrun; otherwise ``time``
    and ``step`` go to ``Circuit.run``.

    Returns a list of records, in the order of the runs: the run's values
    plus "result", or "error" with the library's text when the run failed.
    By default the runs use the local cores in processes (``workers`` of
    them); ``executor`` may be any concurrent.futures executor or a
    ``dask.distributed.Client``.
    """
    with open(path, "rb") as file:
        content = file.read()
    runs = grid(params) if samples is None else draws(params, samples, seed)
    if isinstance(measure, str):
        measure = [measure]
    if not callable(measure):
        measure = _measure_traces(list(measure))
    packed = cloudpickle.dumps(measure)
    settings = {"time": time, "step": step} if run else None
    name = os.path.basename(os.fspath(path))
    if executor is None:
        return _in_processes(workers or os.cpu_count(), name, content, runs, packed, settings)
    if _is_dask_client(executor):
        return _on_dask(executor, name, content, runs, packed, settings)
    return _on_executor(executor, name, content, runs, packed, settings)
