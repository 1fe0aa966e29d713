// Data the engine keeps with each action.
#pragma once
