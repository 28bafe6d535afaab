// The verb "check".
#include "verbs.h"

#include "faithful.h"
#include "file.h"
#include "message.h"
#include "replay.h"

int check(const char *name, const options & /*options*/)
{
    static configuration wanted;
    static names names;
    file file;
    return load_file(name, &file) && read_configuration(file, &wanted, &names) && can_be_saved(file, wanted, names)
               ? status_done
               : status_refused;
}
