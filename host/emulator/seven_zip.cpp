// SPDX-License-Identifier: Apache-2.0
#include <stdlib.h>

/** What libbacktrace calls to unpack the symbols of a program whose call stack it prints: ours prints none.
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
