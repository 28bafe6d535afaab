// kxqosctl: one command for the gateway's QoS engine per run.

#include "commands.h"
#include "output.h"

int main(int argc, char **argv)
{
    const int result = run_command(argc - 1, argv + 1);
    // Output that was cut short must not look complete.
    return finish_output() == 0 ? result : -1;
}
