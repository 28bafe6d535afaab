// The configuration as lines, as files have them.
#ifndef KXQOS_CONFIG_LISTING_H
#define KXQOS_CONFIG_LISTING_H

// Prints what the gateway holds, or what is remembered in its place: the lines of the tool's own display, and after the
// first of them one for each counter that is enabled and each debug category that is on. So nothing stands after the
// last "!", and a file that was cut off lacks it. What cannot be read is left out.
void print_listing();

#endif
