// The engine's side of the model interface: the callback table handed to SetCallbacks, and the
// exported model routines that generated code calls before it defines them.
#pragma once

struct ModelCallbackTable {
    bool CantUniform() const;
};

void GetFixefErrorInitial(double* _data);
