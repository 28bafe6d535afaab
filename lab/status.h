/* What the module and the library hold, printed for people. */
#ifndef LAB_STATUS_H
#define LAB_STATUS_H

#include "store.h"

void print_status(const struct model *module, const struct library *library);
void print_log(const struct model *module);

#endif
