// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::host {

/**
 * Opens /dev/null for each closed descriptor of 0, 1 and 2, so that no socket or file that
 * the program opens later gets one of these numbers and with it the program's output.
 * Each is opened in the wrong direction: reading from it or writing to it still fails.
 * Call it first in main.
 */
void openMissingStandardDescriptors();

/** False if a process at the other end of standard output's pipe or socket will never read again. */
bool isOutputRead();

/**
 * Writes out what was printed to standard output. Returns false if that, or a write before,
 * failed; finishOutput() then reports the error. Use it in place of fflush(stdout).
 */
bool flushOutput();

/**
 * Writes out what was printed, at the end of a program with exit status `status`. Returns
 * `status`, but 1 in place of 0 if something could not be written. Reports that on standard
 * error as `program`; a reader that has closed its end is no error to report.
 */
int finishOutput(const char* program, int status);

}  // namespace hidlaudio::host
