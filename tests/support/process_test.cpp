#include "process.h"

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <system_error>
#include <unistd.h>

namespace {

Command shell(const std::string &script)
{
    Command command;
    command.words = {"sh", "-c", script};
    return command;
}

TEST(Process, GivesStatusAndWhatWasWritten)
{
    const Outcome outcome = run(shell("echo out; echo error >&2; exit 7"));
    EXPECT_EQ(outcome.status, 7);
    EXPECT_EQ(outcome.output, "out\n");
    EXPECT_EQ(outcome.errors, "error\n");
    EXPECT_FALSE(outcome.hung);
}

TEST(Process, CountsWrites)
{
    Command command = shell("echo one; echo two; echo three");
    command.standard_output = StandardOutput::counted;
    const Outcome outcome = run(command);
    EXPECT_EQ(outcome.output, "one\ntwo\nthree\n");
    EXPECT_EQ(outcome.writes, 3);
}

TEST(Process, GivesTheSignalThatEndedIt)
{
    EXPECT_EQ(run(shell("kill -9 $$")).status, 128 + SIGKILL);
}

TEST(Process, CannotStartWhatIsNotThere)
{
    Command command;
    command.words = {"/nonesuch"};
    EXPECT_THROW(run(command), std::system_error);
}

TEST(Process, TakesAVariableInPlaceOfItsOwn)
{
    setenv("PROCESS_TEST_KEPT", "kept", 1);
    setenv("PROCESS_TEST_TAKEN", "old", 1);
    Command command;
    command.words = {"env"};
    command.environment = {"PROCESS_TEST_TAKEN=new"};
    const std::string output = "\n" + run(command).output;
    EXPECT_NE(output.find("\nPROCESS_TEST_TAKEN=new\n"), std::string::npos);
    EXPECT_EQ(output.find("\nPROCESS_TEST_TAKEN=old\n"), std::string::npos);
    EXPECT_NE(output.find("\nPROCESS_TEST_KEPT=kept\n"), std::string::npos);
}

TEST(Process, HasTheStandardInputItIsGiven)
{
    EXPECT_EQ(run(shell("cat")).output, "");
    Command command = shell("[ -e /proc/$$/fd/0 ] || echo closed");
    command.standard_input.clear();
    EXPECT_EQ(run(command).output, "closed\n");
}

// The status tells what became of a line on standard output.
TEST(Process, HasTheStandardOutputItIsGiven)
{
    Command command = shell("echo line 2>/dev/null || exit 3");
    for (auto [kind, status] :
         {std::pair{StandardOutput::captured, 0}, std::pair{StandardOutput::discarded, 0},
          std::pair{StandardOutput::closed, 3}, std::pair{StandardOutput::full, 3},
          std::pair{StandardOutput::broken, 3}, std::pair{StandardOutput::broken_and_deadly, 128 + SIGPIPE}}) {
        command.standard_output = kind;
        const Outcome outcome = run(command);
        EXPECT_EQ(outcome.status, status) << static_cast<int>(kind);
        EXPECT_EQ(outcome.output, kind == StandardOutput::captured ? "line\n" : "") << static_cast<int>(kind);
    }
}

int lowest_free_descriptor()
{
    const int descriptor = dup(STDIN_FILENO);
    close(descriptor);
    return descriptor;
}

// The pipes take the lowest free ones here.
TEST(Process, HasNoOtherDescriptors)
{
    const int lowest = lowest_free_descriptor();
    const std::string number = std::to_string(lowest);
    EXPECT_EQ(run(shell("[ -e /proc/$$/fd/2 ] && [ ! -e /proc/$$/fd/" + number + " ]")).status, 0);
    EXPECT_EQ(lowest_free_descriptor(), lowest);
}

// The second one holds standard output open, and is not what was started.
TEST(Process, IsKilledWithAllItStartedAfterItsTime)
{
    Command command = shell("echo begun; sleep 30 & sleep 30");
    command.seconds = 1;
    const auto start = std::chrono::steady_clock::now();
    const Outcome outcome = run(command);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_TRUE(outcome.hung);
    EXPECT_EQ(outcome.status, 128 + SIGKILL);
    EXPECT_EQ(outcome.output, "begun\n");
}

// Nothing is left to read from, so that only the process itself can be waited for.
TEST(Process, IsKilledWithNothingCaptured)
{
    Command command = shell("exec sleep 30");
    command.standard_output = StandardOutput::discarded;
    command.captures_errors = false;
    command.seconds = 1;
    EXPECT_TRUE(run(command).hung);
}

TEST(Process, IsKilledWhenItWritesTooMuch)
{
    Command command = shell("yes | head -c 8000000");
    command.output_size = 1'000'000;
    const Outcome outcome = run(command);
    EXPECT_TRUE(outcome.hung);
    EXPECT_LT(outcome.output.size(), 2'000'000U);
}

TEST(Process, IsTerminatedWhenAsked)
{
    Command command = shell("echo begun; exec sleep 30");
    command.terminate_after = 200'000;
    const Outcome outcome = run(command);
    EXPECT_EQ(outcome.status, 128 + SIGTERM);
    EXPECT_FALSE(outcome.hung);
}

} // namespace
