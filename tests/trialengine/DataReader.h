// Reading of data files by the file samplers; the generated frame calls none of it.
#pragma once
