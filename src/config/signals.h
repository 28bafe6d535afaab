// Signals while the gateway is being changed: they wait, and are asked for.
#ifndef KXQOS_CONFIG_SIGNALS_H
#define KXQOS_CONFIG_SIGNALS_H

// SIGHUP, SIGINT and SIGTERM are held back from now on.
void hold_signals();

// They have their usual effect again; one that came meanwhile ends the process.
void release_signals();

// Whether one of them has come.
bool signal_came();

enum class answer : unsigned char { enter, refusal, end_of_input, signal, too_late };

// Waits for a line on standard input, at most so many seconds, with the signals held: Enter alone is a yes, any other
// line a refusal.
answer wait_for_enter(unsigned seconds);

#endif
