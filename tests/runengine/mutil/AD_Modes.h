// The evaluation modes of a model: plain doubles, or dual numbers by thetas or by etas.
#pragma once

enum class AD_Mode { REAL, THETA_DUAL, ETA_DUAL };
