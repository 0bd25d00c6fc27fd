// SPDX-License-Identifier: Apache-2.0
#include <stdlib.h>

/** Functions that libbacktrace calls to unpack symbols for a call stack. Our programs print no call stacks.
 */
extern "C" {

void Crc64GenerateTable() {
    abort();
}

void CrcGenerateTable() {
    abort();
}

void XzUnpacker_Construct() {
    abort();
}

void XzUnpacker_Code() {
    abort();
}

void XzUnpacker_IsStreamWasFinished() {
    abort();
}

void XzUnpacker_Free() {
    abort();
}

}  // extern "C"
