// The three tables of a rate-limit database, as one kind of thing.
//
// An entry begins with the word that tells whether it is in use and ends with its rate; what stands between is its key,
// all of whose bytes count, as they do for the tool. The entries in use stand together at the start of their table.
#ifndef KXQOS_CONFIG_LIMIT_TABLE_H
#define KXQOS_CONFIG_LIMIT_TABLE_H

#include "kxqos.h"

// The tables are numbered by the mode that enforces them.
inline constexpr int first_table = RATELIMIT_MODE_IP;
inline constexpr int last_table = RATELIMIT_MODE_PORT;

inline constexpr int limit_entries_most = KXQOS_RL_IP_ENTRIES;

struct limit_table {
    char *entries; // in the database
    uint8_t mode;
    uint8_t upDir;
    uint8_t entrySize;
    uint8_t size; // entries in all
};

// Of a database whose upDir is set. mode is first_table to last_table.
limit_table table_of(kxqos_rl_t *db, int mode);
limit_table table_of(const kxqos_rl_t *db, int mode); // not to be changed

char *limit_at(const limit_table &table, int index);
bool limit_in_use(const char *limit);
uint32_t rate_of(const limit_table &table, const char *limit);

// How many entries are in use.
int count_limits(const limit_table &table);

// The entry with the key of another table's entry, or -1.
int find_limit(const limit_table &table, const char *limit);

// Both of tables of the same mode.
bool same_key(const limit_table &table, const char *a, const char *b);
bool equal_tables(const limit_table &a, const limit_table &b);

// Mode and tables, entry by entry, in order. What stands after the first free entry of a table does not count.
bool equal_databases(const kxqos_rl_t &a, const kxqos_rl_t &b);

// Installs (enable 1) or removes (enable 0) the limit in the switch. Returns 0, or what the library gave.
int switch_entry(const limit_table &table, const char *limit, uint32_t enable);

// Prints the command that adds or deletes the limit.
void print_entry(const limit_table &table, const char *limit, bool addition);

#endif
