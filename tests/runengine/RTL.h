// Run-time library of the engine: nothing the tests need.
#pragma once
