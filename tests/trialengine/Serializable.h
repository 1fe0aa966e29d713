// Storage of the run-time library's objects; the generated frame calls none of it.
#pragma once
