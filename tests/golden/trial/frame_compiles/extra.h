// A header of the study's own, which the trial program includes.
#pragma once

static double const extraFactor = 2;
