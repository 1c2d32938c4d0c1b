#!/usr/bin/env python3
"""Writes the circuits of the speed comparison, each as a .qz3 file for this
engine and as a .cir netlist for the peer simulator of compare_ngspice.sh.

  multiphase_buck_<N>.qz3/.cir  N interleaved buck phases (N = 1 ... 32) on one
                                output capacitor: 12 V in, 100 kHz, 50 % duty,
                                phase k delayed by k/N of the period, 100 uH per
                                phase, 100 uF out, a load of 5/N ohm (1.2 A per phase)
  ladder_<S>.qz3/.cir           S RC sections (1 k, 1 n) discharging a 1 mF head
                                capacitor charged to 1 V (S = 250 ... 4000; 1000
                                is the speed comparison, all of them the memory one)

  python3 bench/make_circuits.py OUTDIR
"""
import os
import sys

PERIOD = 10e-6
PHASES = (1, 2, 4, 8, 16, 32)
BUCK_TIME, BUCK_STEP = 10e-3, 100e-9
LADDERS = (250, 500, 1000, 2000, 4000)
LADDER_TIME, LADDER_STEP = 1e-4, 1e-7


def qz3_file(cmps, traces, step, screen):
    lines = ['<?xml version="1.0"?>', '<QZ3>',
             '  <Version ver="3" rev="4" core="30" build="0" date="06/03/2022" />',
             '  <Doc>', '    <Properties save="0" />', '    <Cir>', '      <Cmps>']
    lines += ['        ' + c for c in cmps]
    lines += ['      </Cmps>', '    </Cir>', '    <Tran>',
              f'      <Settings start="0" screen="{screen:g}" step="{step:g}" />', '      <Traces>']
    lines += ['        ' + t for t in traces]
    lines += ['      </Traces>', '    </Tran>',
              '    <Advanced dc="false" so="true" cs="false" sbs="true" to="0" zero="1e-12" s_m="1" />',
              '  </Doc>', '</QZ3>', '']
    return '\n'.join(lines)


def buck_qz3(n):
    # Nodes: 1 input, 2 output, 3 + k the switch node of phase k.
    cmps = ['<Cmp type="V_V" id="1" name="V1" node0="0" node1="1" model="V" v="12" />',
            '<Cmp type="C_C" id="2" name="C1" node0="0" node1="2" model="C" c="100e-6" ic="0" />',
            f'<Cmp type="R_R" id="3" name="R1" node0="0" node1="2" model="R" r="{5.0 / n:.12g}" />']
    for k in range(n):
        sw, base = 3 + k, 10 + 3 * k
        delay = PERIOD * k / n
        cmps += [f'<Cmp type="S_S" id="{base}" name="S{k + 1}" node0="1" node1="{sw}" model="Pulse" a="true">'
                 f'<Signal p="{PERIOD:g}" w="{PERIOD / 2:g}" d="{delay:.12g}" /></Cmp>',
                 f'<Cmp type="D_D" id="{base + 1}" name="D{k + 1}" node0="{sw}" node1="0" model="Diode" vd="0" ic="false" />',
                 f'<Cmp type="L_L" id="{base + 2}" name="L{k + 1}" node0="2" node1="{sw}" model="L" l="100e-6" ic="0" />']
    traces = ['<Trace id="3" expr="R1" name="Vout" color="0,0,255" type="V" mode="analog" />']
    return qz3_file(cmps, traces, BUCK_STEP, BUCK_TIME)


def buck_cir(n):
    lines = [f'* {n} interleaved buck phases, 100 kHz, 50 %, one output capacitor',
             'VIN in 0 DC 12', 'C1 out 0 100u IC=0', f'RL out 0 {5.0 / n:.12g}']
    for k in range(n):
        delay = PERIOD * k / n
        lines += [f'VG{k} g{k} 0 PULSE(0 1 {delay:.12g} 10n 10n 4.99u 10u)',
                  f'S{k} in sw{k} g{k} 0 SWBUCK', f'D{k} 0 sw{k} DIDEAL', f'L{k} sw{k} out 100u IC=0']
    lines += ['.model SWBUCK SW(VT=0.5 VH=0.1 RON=1m ROFF=1e9)',
              '.model DIDEAL D(IS=1e-14 N=0.01 RS=1m)', '.options method=gear',
              f'.tran {BUCK_STEP:g} {BUCK_TIME:g} 0 {BUCK_STEP:g} uic',
              '.control', 'run', 'quit 0', '.endc', '.end', '']
    return '\n'.join(lines)


def ladder_qz3(sections):
    cmps = ['<Cmp type="C_C" id="1" name="C0" node0="0" node1="1" model="C" c="1e-3" ic="1" />']
    for k in range(1, sections + 1):
        cmps += [f'<Cmp type="R_R" id="{2 * k}" name="R{k}" node0="{k}" node1="{k + 1}" model="R" r="1e3" />',
                 f'<Cmp type="C_C" id="{2 * k + 1}" name="C{k}" node0="0" node1="{k + 1}" model="C" c="1e-9" ic="0" />']
    traces = ['<Trace id="3" expr="C1" name="V2" color="0,0,255" type="V" mode="analog" />']
    return qz3_file(cmps, traces, LADDER_STEP, LADDER_TIME)


def ladder_cir(sections):
    lines = [f'* RC ladder of {sections} sections', 'C0 1 0 1m IC=1']
    for k in range(1, sections + 1):
        lines += [f'R{k} {k} {k + 1} 1k', f'C{k} {k + 1} 0 1n IC=0']
    lines += ['.options method=trap', f'.tran {LADDER_STEP:g} {LADDER_TIME:g} 0 {LADDER_STEP:g} uic',
              '.control', 'run', 'quit 0', '.endc', '.end', '']
    return '\n'.join(lines)


def write(path, text):
    with open(path, 'w', encoding='ascii') as f:
        f.write(text)


def main():
    out = sys.argv[1] if len(sys.argv) > 1 else 'bench_circuits'
    os.makedirs(out, exist_ok=True)
    for n in PHASES:
        write(os.path.join(out, f'multiphase_buck_{n}.qz3'), buck_qz3(n))
        write(os.path.join(out, f'multiphase_buck_{n}.cir'), buck_cir(n))
    for sections in LADDERS:
        write(os.path.join(out, f'ladder_{sections}.qz3'), ladder_qz3(sections))
        write(os.path.join(out, f'ladder_{sections}.cir'), ladder_cir(sections))


if __name__ == '__main__':
    main()
