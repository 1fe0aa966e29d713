// Run-time library of the engine.
#pragma once
