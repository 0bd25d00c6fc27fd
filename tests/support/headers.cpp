// SPDX-License-Identifier: Apache-2.0
// The program whose precompiled headers all suites share.
int main() {}
