/* The kernel library's entries in C.
 *
 * `libckt_kernel` reads a SPICE netlist, runs every analysis in it and writes the results. The circuit is solved by
 * ngspice's shared library, which is loaded afresh for each job and unloaded before the job's call returns.
 *
 * Call order: the callbacks and the project directory first, in any order, then `analyze` (or `run_sim`), as often
 * as wanted. A registration lasts until it is replaced, a null pointer takes it away, and unloading the library ends it.
 *
 * Threads: one call at a time. All callbacks arrive on the thread that called `analyze` or `run_sim`, while that call
 * lasts. A callback must not call back into the library and must not throw. A second job on another thread while
 * one runs is refused with CKT_FAILED.
 *
 * Text is UTF-8, zero-terminated. Texts passed in are copied; texts passed to a callback live for that call. A text
 * has no line end at its end: whoever prints it adds one.
 *
 * The process's working directory, environment, locale and signal handlers are left as they are, and nothing is
 * printed to the process's standard output or standard error except by `run_sim`.
 */
#ifndef CKT_KERNEL_H
#define CKT_KERNEL_H

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define CKT_KERNEL_ENTRY __attribute__((visibility("default")))
#else
#define CKT_KERNEL_ENTRY
#endif

/* Results of `analyze`. */
enum {
    CKT_GOOD = 0,       /* every analysis done, every result file written */
    CKT_FAILED = 1,     /* bad use (no file name, a job runs already), out of memory */
    CKT_NO_NETLIST = 2, /* the netlist or a file that it includes is missing, is no file, or can't be read */
    CKT_NOT_A_NETLIST = 3,   /* the file is empty or holds bytes that no netlist has */
    CKT_NO_ANALYSIS = 4,     /* a good netlist that asks for no analysis */
    CKT_BAD_NETLIST = 5,     /* an error in the netlist's lines */
    CKT_ANALYSIS_FAILED = 6, /* an analysis was started and didn't come to its end */
    CKT_NOT_WRITTEN = 7,     /* a result file can't be written: unwritable directory, full disk */
    CKT_NO_SIMULATOR = 8,    /* ngspice's shared library can't be loaded or isn't complete */
    CKT_SIMULATOR_ENDED = 9, /* ngspice gave up in the middle of a job */
    CKT_NO_DATA = 10         /* there is no data for an N-port */
};

/* Codes of the error callback. */
enum { CKT_INFORMATION = 1, CKT_WARNING = 2, CKT_ERROR = 3 };

/* Receives the job's progress from 0 to 1. It never falls, and ends at exactly 1 when every analysis has been done.
 * The share of one analysis is 1 / (number of analyses). The result is an HRESULT and isn't looked at. */
typedef int (*ckt_progress_call_back)(double progress);

/* Receives a message in words and its code (above). Where a message speaks of the netlist it begins with
 * "FILE:LINE: ". Each finished result file is reported by an information "result file: PATH". */
typedef void (*ckt_error_call_back)(const char* text, int code);

/* The named callbacks of a co-simulation, "SystemCosimSource", "SystemCosimPort" and "SystemCosimPortFlush". `name` is the
 * number of a source or a port as text. The first asks for a source's value and slope at a time point [s] and may wait
 * for the answer as long as it takes; the others hand in the pair of a port at the end of a step, and end the step. 0 is
 * good, any other result ends the analysis. */
typedef int (*ckt_cosim_source_call_back)(const char* name, double time, double* value, double* slope);
typedef int (*ckt_cosim_port_call_back)(const char* name, double time, double first, double second);
typedef int (*ckt_cosim_port_flush_call_back)(void);

/* The named callback "FieldSolver": the scattering matrices of an N-port, every port referred to 50 ohm, at all `frequencies`
 * [Hz]. `design`, `instance` and `parameters` are what the netlist says. `output` takes for each frequency, in that order, the
 * frequency itself and the matrix, rows first, each element as its real and its imaginary part; `capacity` is the number of
 * doubles that it can take. 0: `output_count` doubles are written. 2: `output_count` doubles are needed and nothing is
 * written; the callback is asked once more with as many. Any other result is a failure, which ends the job: 1 no data, 3 a
 * reply that can't be read, 4 no data for one of the frequencies, 5 no frequencies, else the client's own. */
typedef int (*ckt_field_solver_call_back)(const char* design, const char* instance, const char* parameters,
                                          const double* frequencies, int frequency_count, double* output,
                                          int capacity, int* output_count);

/* Where result files go. Null or empty: the folder of the netlist. A relative path counts from the process's working
 * directory. The directory has to exist. */
CKT_KERNEL_ENTRY void set_project_path(const char* utf8);

CKT_KERNEL_ENTRY void set_progress_call_back(ckt_progress_call_back call_back);

CKT_KERNEL_ENTRY void set_error_call_back(ckt_error_call_back call_back);

/* Keeps a named callback; `call_back` is a function pointer whose type the name stands for. Names that the library
 * has no use for are kept as well. */
CKT_KERNEL_ENTRY void set_cosim_call_back(const char* name, void* call_back);

/* Runs every analysis of the netlist in `utf8_file`, in the order of its lines, and returns one of the codes above.
 * An analysis that fails doesn't keep the others from running; the code is that of the first failure.
 *
 * Read: any netlist that ngspice takes, as UTF-8 or Latin-1. `.include` and `.lib` paths count from the folder of the
 * file that names them, then from the netlist's. `.control` blocks are skipped with a warning. `.end` ends reading.
 *
 * Co-simulation, by lines that a plain SPICE reader takes for comments:
 *   *% cosim step 1n                  the time between two samples; without this line the step of .tran
 *   *% cosim source 0 Vin             source 0 drives the voltage or current source Vin
 *   *% cosim port 0 v(out) i(Vsense)  the first and the second value (0 without one) of port 0
 * Sources and ports are numbered from 0; there is at least one of each, and one .tran. In the .tran the driven sources
 * have no values of their own: the callback gives them, asked for once a time point and in time order from step to step (a
 * step that the simulator takes again goes back within itself). At the end of every step, the last one being cut short by
 * the end of the .tran, all ports are handed in and the step is flushed. All other analyses have the sources' own values and
 * ask nobody. Before the first question comes the information "co-simulation: N steps of STEP s to END s, M sources, K ports".
 *
 * N-ports, components that only data over frequency describes, likewise:
 *   *% nport N1 a 0 b 0 design=bandpass params="w=0.3m"    pairs of nodes, one pair a port; "params" may be left out
 * Their data comes from "FieldSolver", which is asked once for each of them: at 0 Hz, and at all frequencies of all .ac. The real
 * matrix at 0 Hz counts in the operating point, in .dc and .tf; .ac has the N-ports exactly. All other analyses of such a circuit
 * fail. Lines stand outside .subckt and .if.
 *
 * Written, where NAME is the netlist's file name without its extension and N numbers the analyses of one kind from
 * the second on (NAME.tran.csv, NAME.tran2.csv):
 *   NAME.raw            SPICE raw file, binary, all plots of all analyses that came to their end
 *   NAME.KINDN.csv      a column for each vector, with its unit; a complex vector as magnitude in dB and phase in
 *                       degrees (its real and imaginary parts are in the raw file)
 *   NAME.noise_totalN.csv  the integrated noise of `.noise`
 *   NAME.sM, NAME.N.sM  (M = "1p", "2p", ...) Touchstone of `.sp`: version 1 if all ports have one reference, else 2.0
 * A file appears under its name only when it is whole. */
CKT_KERNEL_ENTRY int analyze(const char* utf8_file);

/* The command line: PROGRAM CIRCUIT [-o DIR] [--quiet] [--help]. argv[0] is the program; double quotes are taken out of
 * every argument. Messages go to the error callback, or to standard output if there is none; progress goes to the progress
 * callback, and a bar is drawn if standard output is a terminal. Returns 0 done, 1 the job failed, 2 wrong use. */
CKT_KERNEL_ENTRY int run_sim(int argc, char** argv);

#ifdef __cplusplus
}
#endif

#endif
