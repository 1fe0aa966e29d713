// Data the engine keeps with each action: a compartment number and up to two numbers, the
// first of which may carry derivatives. A dual first number is kept in a store of its type.
#pragma once

#include <type_traits>
#include <vector>

template <typename NUM> struct ActionData {
    static constexpr bool is_dual = !std::is_same<NUM, double>::value;
    int iarg;
    NUM arg1;
    double arg2;
};

// What make_action_data hands to insert_action: the plain numbers, and where a dual first
// number is stored (-1 when it is plain).
struct ActionDataRef {
    int iarg = 0;
    double arg1 = 0, arg2 = 0;
    int dualIndex = -1;
};

template <typename NUM> std::vector<ActionData<NUM>>& DualPayloads() {
    static std::vector<ActionData<NUM>> store;
    return store;
}

template <typename A1> ActionDataRef make_action_data(int cpt, const A1& arg1, double arg2 = 0) {
    ActionDataRef r;
    r.iarg = cpt;
    r.arg1 = double(arg1);
    r.arg2 = arg2;
    if constexpr (!std::is_arithmetic<A1>::value) {
        DualPayloads<A1>().push_back({cpt, arg1, arg2});
        r.dualIndex = int(DualPayloads<A1>().size()) - 1;
    }
    return r;
}

struct ActionTicket {
    int mark;
    int iCpt;
    ActionDataRef data;
};

// The data of an action as the number type of the routine that performs it.
template <typename NUM> ActionData<NUM> const& get_data(ActionTicket const& action) {
    static ActionData<NUM> plain;
    if constexpr (!std::is_same<NUM, double>::value) {
        if (action.data.dualIndex >= 0) return DualPayloads<NUM>()[size_t(action.data.dualIndex)];
    }
    plain = {action.data.iarg, NUM(action.data.arg1), action.data.arg2};
    return plain;
}
