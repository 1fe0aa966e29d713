// The engine's side of the model interface: the callback table handed to SetCallbacks.
#pragma once

struct ModelCallbackTable {
    bool CantUniform() const;
};
