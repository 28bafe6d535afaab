// The menu and the usage texts, each printed whole.
#ifndef KXQOSCTL_USAGE_H
#define KXQOSCTL_USAGE_H

void main_menu_dump();
void debug_cmd_usage();
void rate_bucket_cmd_usage();
void rule_cmd_usage();
void rate_limit_cmd_usage();
void global_state_cmd_usage();
void configuration_cmd_usage();
void counter_cmd_usage();
void test_cmd_usage();
void reset_cmd_usage();
void refresh_cmd_usage();

#endif
