// Where the commands' output goes in this program: into memory, and to standard output once that is asked for.
#ifndef KXQOS_CONFIG_OUTPUT_H
#define KXQOS_CONFIG_OUTPUT_H

// More than a message shows of a line, and some message of the tool's repeats most of one.
inline constexpr int printed_most = 8192; // with the terminator

// What the commands print from now on goes there, too. It is kept either way, as much of it as one line of a file can
// give.
void print_to_standard_output();

// Forgets what was printed.
void forget_printed();

// All that was printed since then, terminated. Owned by the seam, and good until something is printed.
const char *printed();

// Whether a line of it tells of something that failed or was refused, whatever the command gave.
bool printed_trouble();

// The line of it that tells most, without the blanks around it; null when none tells anything.
const char *printed_reason();

#endif
