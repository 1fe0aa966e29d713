// Matrix routines of the run-time library; the generated frame calls none of them.
#pragma once
