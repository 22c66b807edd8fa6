#!/usr/bin/env python3
"""Makes the data of these examples, as a network analyser would have measured it: from ladders of elements, and from a cable's
formula. The elements stand in the functions below; the tests simulate the same ones as a netlist."""

import cmath
import math
import pathlib


def series(z):
    """A chain matrix: an impedance between the ports."""
    return [[1, z], [0, 1]]


def shunt(y):
    """A chain matrix: an admittance across both ports."""
    return [[1, 0], [y, 1]]


def chain(*parts):
    result = [[1, 0], [0, 1]]
    for part in parts:
        result = [[sum(row[k] * part[k][column] for k in range(2)) for column in range(2)] for row in result]
    return result


def scattering(matrix, r):
    """S11, S21, S12, S22 at a reference of r ohm, of a reciprocal two-port."""
    (a, b), (c, d) = matrix
    sum_ = a + b / r + c * r + d
    return (a + b / r - c * r - d) / sum_, 2 / sum_, 2 / sum_, (-a + b / r - c * r + d) / sum_


def input_match(w):
    """47 pF, then 12 nH with 1 ohm, then 3.3 pF to ground."""
    return chain(series(1 / (1j * w * 47e-12) + 1 + 1j * w * 12e-9), shunt(1j * w * 3.3e-12))


def output_match(w):
    """22 nH with 1.5 ohm to ground, then 10 pF."""
    return chain(shunt(1 / (1.5 + 1j * w * 22e-9)), series(1 / (1j * w * 10e-12)))


def filter_75(w):
    """A band-pass for 100 MHz in a system of 75 ohm: two tanks to ground, coupled by 6.8 pF."""
    tank = 1j * w * 150e-12 + 1 / (0.05 + 1j * w * 15e-9)
    return chain(shunt(tank), series(1 / (1j * w * 6.8e-12)), shunt(tank))


def cable(w):
    """0.5 m of a cable of 75 ohm, two thirds of the speed of light, with the loss of its skin effect."""
    r = 0.1 + 1.5e-4 * math.sqrt(w / (2 * math.pi))
    z, y = r + 1j * w * 375e-9, 1e-9 + 1j * w * 66.7e-12
    impedance, length = cmath.sqrt(z / y), 0.5 * cmath.sqrt(z * y)
    return [[cmath.cosh(length), impedance * cmath.sinh(length)],
            [cmath.sinh(length) / impedance, cmath.cosh(length)]]


def write(name, what, network, options, unit, frequencies, pair, r=50, at_zero=None):
    lines = ["! " + what, options]
    for f in frequencies:
        s = at_zero if f == 0 else scattering(network(2 * math.pi * f * unit), r)
        lines.append(" ".join([f"{f:g}"] + [f"{number:.12g}" for element in s for number in pair(element)]))
    path = pathlib.Path(__file__).parent / "data" / name
    path.write_text("\n".join(lines) + "\n")


def ri(s):
    return complex(s).real, complex(s).imag


def ma(s):
    return abs(s), math.degrees(cmath.phase(s))


if __name__ == "__main__":
    # At 0 Hz a capacitor is open: the input passes nothing on either side, the output has its coil's 1.5 ohm at port 1.
    short = (1.5 - 50) / (1.5 + 50)
    tens = range(0, 1001, 20)
    write("input_match.s2p", input_match.__doc__, input_match, "# MHz S RI R 50", 1e6, tens, ri, at_zero=(1, 0, 0, 1))
    write("output_match.s2p", output_match.__doc__, output_match, "# MHz S RI R 50", 1e6, tens, ri,
          at_zero=(short, 0, 0, 1))
    write("filter_75.s2p", filter_75.__doc__, filter_75, "# MHz S MA R 75", 1e6, range(60, 141, 2), ma, r=75)
    write("cable.s2p", cable.__doc__, cable, "# GHz S RI R 50", 1e9, [0.02 * k for k in range(1, 51)], ri)
