// Fixed texts of the global declarations of Model.cpp: the interface of one evaluation state,
// the enabled-fixed-effect switches, the head and tail of the class model_data, and the parts
// of the routines after the class that do not depend on the model's names.
#pragma once

extern char const* const base_data_declaration;
extern char const* const enabled_fixefs_head;
extern char const* const model_data_start;
extern char const* const event_sim_declaration;
extern char const* const model_data_end;
extern char const* const ad_mode_real;
extern char const* const capture_pred_theta_head;
extern char const* const capture_pred_eta;
extern char const* const valid_strip_routine;
