// The program's version as text, for literals.
#ifndef KXQOS_CONFIG_VERSION_H
#define KXQOS_CONFIG_VERSION_H

#define KXQOS_TEXT_OF(number) #number
#define KXQOS_TEXT(number) KXQOS_TEXT_OF(number)
#define KXQOS_VERSION KXQOS_TEXT(KXQOS_VERSION_NUMBER)

#endif
