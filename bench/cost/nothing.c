// SPDX-License-Identifier: Apache-2.0

// A process, and nothing else: a mail program whose work is not the autoresponder's cost, and with
// libraries linked to it, what loading those costs.

int main(void) {
    return 0;
}
