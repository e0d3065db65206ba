#pragma once

/// State -> action -> state over files, registry, processes and what the server saw, on the built
/// program: each scenario begins on a wiped machine with a server that offers the archives alone,
/// and ends with all programs ended. docs/testing.md tells how to write one.

#include <gtest/gtest.h>

#include "scenarios/Installation.h"
#include "scenarios/MachineState.h"
#include "scenarios/Prepared.h"
#include "scenarios/Server.h"
#include "scenarios/SetupRun.h"
#include "support/Scratch.h"
#include "support/Waiting.h"

using Lines = std::vector<std::string>;
using Buttons = std::vector<int>;

inline const Places& places = GetPlaces();

class Scenario : public testing::Test {
  protected:
    /// A table's cases call it too.
    void SetUp() override {
        WipeMachine();
        ResetServer();
    }
    void TearDown() override {
        EndPrograms();
    }
};

/// The machine's state is as expected.
#define EXPECT_STATE(expected) EXPECT_EQ(Differences((expected), TakeState()), "")

/// The text has these parts, one behind the other.
inline void ExpectInOrder(const std::string& text, const Lines& parts) {
    std::size_t at = 0;
    for (const std::string& part : parts) {
        at = text.find(part, at);
        ASSERT_NE(at, std::string::npos) << "no " << part << " in " << text;
    }
}
