/* Error numbers by their names, for faults. Freestanding, as the gateway is. */
#ifndef LAB_ERRORS_H
#define LAB_ERRORS_H

#ifdef __cplusplus
extern "C" {
#endif

/* The number of the error of this name, as errno(3) gives it; of two names for one number, the first one there. 0 for
 * any other name. */
int error_number(const char *name);

#ifdef __cplusplus
}
#endif

#endif
