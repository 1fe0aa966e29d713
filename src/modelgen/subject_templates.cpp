// Fixed texts of the subject evaluation section, printed with fputs exactly as they stand:
// the binomial sum over the states of a gamma delay, and the derivatives of those states.
#include "modelgen/subject_templates.h"

// The output of a gamma delay: its states summed with alternating binomial coefficients of
// the shape. Values are converted explicitly, so the sum compiles over dual states too.
char const* const calcSumXTemplate = R"TXT(template <typename RES, typename NUM, typename NUM1>
static RES calc_sum_x(int N, const NUM1 & shape_, NUM x_[])
{
    RES BinomialCoeff_ = RES(1);
    RES res_ = RES(x_[0]);
    for (int i_ = 1; i_ < N; i_++) {
        BinomialCoeff_ = -BinomialCoeff_ * (static_cast<typename type_caster_down<RES, NUM1>::type>(shape_) - i_) / i_;
        res_ += BinomialCoeff_ * RES(x_[i_]);
    }
    return res_;
}

)TXT";

// The rates of the states of a gamma delay; eps_ keeps the quotient finite at t = 0.
char const* const gammaDerivTemplate = R"TXT(template <typename NUM, typename NUM1, typename NUM2>
static void gamma_deriv(int N, const NUM1 & s_, double eps_, const NUM2 & ktr_, const NUM x_[], NUM R_[], const NUM irate_[])
{
    for (int i_ = 0; i_ < N; i_++)
        R_[i_] = (s_ - (ktr_ + (i_ / (t + eps_))) * x_[i_]) + irate_[i_];
}

)TXT";
