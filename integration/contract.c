/* Prints the contract between the tool, the kernel module and libkx, as this compiler lays it out.
 *
 * Plain C11. Compile it with the compiler and the headers that made the module or the library; what it prints has to
 * be what docs/gateway.md shows.
 */
#include "libkx.h"

#include <stdio.h>

#define PRINT_REQUEST(name, number, payload) \
    printf("| %s | %d | 0x%08x | %zu |\n", "KXQOS_" #name, number, KXQOS_REQUEST(number), sizeof(payload));
#define PRINT_RECORD(type, size, alignment) printf("| %s | | | %zu |\n", #type, sizeof(type));
#define PRINT_FIELD(type, field, offset, size) \
    printf("| %s | %s | %zu | %zu |\n", #type, #field, offsetof(type, field), sizeof(((type *)0)->field));

int main(void)
{
    puts("| request | number | as sent | payload bytes |\n|---|---|---|---|");
    KXQOS_REQUESTS(PRINT_REQUEST)
    puts("\n| record | field | offset | bytes |\n|---|---|---|---|");
    KXQOS_RECORDS(PRINT_RECORD, PRINT_FIELD)
    LIBKX_RECORDS(PRINT_RECORD, PRINT_FIELD)
    return 0;
}
