// Data the engine keeps with each action: a compartment number and up to two numbers, the
// first of which may carry derivatives.
#pragma once

#include <type_traits>

struct ActionTicket;

template <typename NUM> struct ActionData {
    static constexpr bool is_dual = !std::is_same<NUM, double>::value;
    int iarg;
    NUM arg1;
    double arg2;
};

// What make_action_data hands to insert_action.
struct ActionDataRef {
    int index;
};

template <typename A1> ActionDataRef make_action_data(int cpt, const A1& arg1);
template <typename A1> ActionDataRef make_action_data(int cpt, const A1& arg1, double arg2);
template <typename NUM> ActionData<NUM> const& get_data(ActionTicket const& action);
