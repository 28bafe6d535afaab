// Included before each source of kxqos-config: its data stands together, so that it can be put back between runs.
#pragma clang section bss = "config_cleared" data = "config_set"
