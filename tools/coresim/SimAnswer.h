#pragma once
// What the core answers to a request: the decision only, as data. The caller writes it into the block under the
// mutex and then sets the complete event.

#include "tools/coresim/SimBlock.h"
#include "tools/coresim/SimOptions.h"
#include "tools/coresim/SimScript.h"
#include "tools/coresim/SimVault.h"

#include <cstdint>

struct SimAnswer
{
    std::uint32_t result = 0;
    std::uint32_t flags = 0;
    bool writeFill = false; // write `fill` into the block, keeping requestKey
    SimFillScript fill;
    bool setHostContext = false;  // hostContext := the sim's window
    bool vaultChanged = false;    // a login was stored
    bool settingsChanged = false; // noPrompt was switched on
};

// Decides the answer to `request` (decoded from the block when its event fired). A store request (2) stores the
// login in `vault`, a request 10 switches `settings.noPrompt` on.
SimAnswer AnswerRequest(const SimBlockView& request, SimSettings& settings, CSimVault& vault);
