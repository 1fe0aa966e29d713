// Closed-form compartment machines of the engine.
#pragma once

template <typename NUM> struct cf_m { double state[6]; };
