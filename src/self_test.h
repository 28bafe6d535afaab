// The self-test of the library: six fixed cases, each with its verdict.
#ifndef KXQOSCTL_SELF_TEST_H
#define KXQOSCTL_SELF_TEST_H

// Never stops early; failures are only printed.
void libkx_qos_api_test_example();

#endif
