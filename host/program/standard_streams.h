// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::host {

/**
 * Opens /dev/null for each of the descriptors 0, 1 and 2 that is closed. Otherwise a socket or file that the
 * program opens later could get the number and receive the program's output. The descriptors are opened in
 * the wrong direction, so that reading standard input or writing output still fails. Call it first in main().
 */
void openMissingStandardDescriptors();

/** Returns false if standard output is closed, or is a pipe or socket whose reader has closed its end. */
bool isOutputRead();

/**
 * Flushes standard output. Returns false if this or an earlier write has failed; finishOutput() later reports
 * the error. Use it in place of fflush(stdout).
 */
bool flushOutput();

/**
 * Flushes standard output at the end of a program. Returns the exit status: `status`, or 1 if `status` is 0
 * and a write has failed. Prints the error to standard error, with `program` as prefix, unless the reader of
 * a pipe has closed its end.
 */
int finishOutput(const char* program, int status);

}  // namespace hidlaudio::host
