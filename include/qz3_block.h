/*
 * qz3_block.h - writing a library block ("X_DLL") for QZ3.
 *
 * A library block is a component whose behaviour is compiled C code in a
 * shared library of your own (a .so on Linux). Build it with
 *
 *     cc -shared -fPIC -O2 -o my_block.so my_block.c
 *
 * and name it in the component's "dll" key (searched like every file the
 * schematic names: as given, beside the schematic, then in the document's
 * library folders), or store it inside the schematic as an attachment.
 *
 * The data array
 * --------------
 * At every call the engine passes one array of doubles laid out by the
 * component's box:
 *
 *     data[0 .. nIn-1]                 inputs, written by the engine
 *                                      (left-side pins, top to bottom)
 *     data[nIn .. nIn+nOut-1]          outputs, read back after the call
 *                                      (right-side pins, top to bottom)
 *     data[nIn+nOut .. +nVar-1]        variables: the box's variable list,
 *                                      kept from call to call by the engine
 *     the next QZ3_BLOCK_GUARD_WORDS   guard words, each holding
 *                                      QZ3_BLOCK_GUARD_PATTERN
 *
 * Keep all state that must survive between calls in the variables (or in
 * static storage of the library); outputs and variables hold their last
 * values when the call begins. After every call the engine checks the guard
 * words: a block that changed any of them has written past its variables,
 * and the run stops with "DLL writes above data array bounds". A write past
 * the guard words goes unseen and corrupts the host.
 *
 * The entry points
 * ----------------
 * All four are optional, plain C functions, and their names are set in the
 * component ("dll_init", "dll_code", "dll_pause", "dll_exit"; by default
 * Init, Main, Pause, Exit; a name is also found with a leading underscore).
 * Each returns 0 when all is well; any other value stops the run with its
 * number in the message ("Error initializing DLL. Code=3", "error executing
 * DLL. Code=7").
 *
 *     Init(t, data)  once after the library is loaded at the start of a run,
 *                    after the initial values (the component's IC, C-code
 *                    such as "k=2, n=0") have been written into data; a
 *                    parameter the host changes during the run doesn't
 *                    start the block anew;
 *     Main(t, data)  at every evaluation; a block with a clock pin (a pin
 *                    on the bottom side, the last pin) runs only on its
 *                    rising edge, or on the falling edge in view 1;
 *     Pause()        when a run pauses;
 *     Exit()         when the block closes: the run ends, fails or the
 *                    schematic is closed. The library is unloaded behind it.
 *
 * All calls come from the thread that runs the simulation, one at a time.
 * Two blocks that load the same file share its static storage; a library
 * stored in the schematic is unpacked to a file of its own for each block.
 *
 * A word of warning: the library runs inside the host's process, like any
 * plug-in. A block that crashes (a bad pointer, a division trap, an endless
 * loop) takes the host with it; the engine can only check the guard words.
 */
#ifndef QZ3_BLOCK_H
#define QZ3_BLOCK_H

#ifdef __cplusplus
extern "C" {
#endif

/* The guard words behind the variables, and the value each one holds: the
 * eight bytes "__%n/a__" read as a little-endian 64-bit word. */
#define QZ3_BLOCK_GUARD_WORDS 100
#define QZ3_BLOCK_GUARD_PATTERN 0x5F5F612F6E255F5FULL

/* The entry points, as the engine calls them. */
typedef int (*QZ3_BlockInit)(double t, double* data);
typedef int (*QZ3_BlockMain)(double t, double* data);
typedef int (*QZ3_BlockPause)(void);
typedef int (*QZ3_BlockExit)(void);

/* Marks an entry point as visible from outside the library. */
#if defined(_WIN32)
#  define QZ3_BLOCK_EXPORT __declspec(dllexport)
#elif defined(__GNUC__)
#  define QZ3_BLOCK_EXPORT __attribute__((visibility("default")))
#else
#  define QZ3_BLOCK_EXPORT
#endif

#ifdef __cplusplus
}
#endif

#endif
