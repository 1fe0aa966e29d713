// Functions the model text may call.
#pragma once
