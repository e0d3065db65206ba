#pragma once

#include <windows.h>

#include <string>
#include <vector>

/// One picture to take: a state of the main window, or a box.
struct Shot {
    const char* name;   // of the picture's file
    const char* title;  // for the reader of the page
    bool isBox;
    std::vector<int> textRows;  // of the product's table, those that are to be seen
    int stage;                  // of the main window, and
    int percent;                // where its bar stands
};

/// What the program shows between two moments at which nothing is on the screen.
struct Scene {
    /// Shows it with the program's own code and returns when it is gone from the screen.
    void (*show)();
    std::vector<Shot> shots;
};

/// All that a user can get to see.
const std::vector<Scene>& AllScenes();

/// Keeps operations from starting, and reports from being sent: from here on the process only
/// shows. To be called once, before any scene.
bool PrepareStage();

/// Makes the close question come up over the main window.
void AskToCancel();
