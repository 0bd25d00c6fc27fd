// SPDX-License-Identifier: Apache-2.0
// All suites reuse the precompiled headers of this program.
int main() {}
