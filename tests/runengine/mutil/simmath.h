// Engine simulation helpers.
#pragma once
#include "mutil/odesolve_common.h"
