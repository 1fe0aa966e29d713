// The closed-form machines of the test run-time library: linear systems of one to three
// compartments with an optional first-order depot, advanced exactly by the matrix exponential of
// the system augmented with its constant input rates.
//
// Micro forms hold amounts: depot A, central 1, peripherals 2 and 3, with
//   A' = -ka A + rateA,  1' = ka A - (k + k12 + k13) 1 + k21 2 + k31 3 + rate1,
//   2' = k12 1 - k21 2,  3' = k13 1 - k31 3.
// Macro forms (InitMacroNNew: coefficient and exponent pairs) hold one amount per exponential
// mode, m_i' = -alpha_i m_i + c_i (ka A + rate1); the central value is their sum, and a dose
// added to it adds c_i times the dose to each mode. With the absorption rate of AppendKaNew,
// whose depot has no name of its own, doses and input rates of the central value go to the
// depot instead: a unit dose gives sum c_i ka / (ka - alpha_i) (e^(-alpha_i t) - e^(-ka t)).
// The first two arguments of InitMacroNNew (the model's concentration and divisor) are not
// used. InitMacroN(alpha, b, beta, c, gamma) is the amount form of cfMacro1, with the
// coefficients 1 - b - c, b and c.
// Every Init resets amounts and rates; GetState and SetState keep them (CF2ReInit).
#include "PKPDModel.h"
#include "trialrun.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace trialrun {

// Scaling and squaring of a Taylor series: the scaled matrix has a norm of at most 1/4, where
// 20 terms are exact to rounding.
void MatrixExp(int n, double const* a, double dt, double* out) {
    double m[64], term[64], tmp[64], sum[64];
    double norm = 0;
    for (int i = 0; i < n; i++) {
        double row = 0;
        for (int j = 0; j < n; j++)
            row += std::fabs(a[i * n + j] * dt);
        norm = std::max(norm, row);
    }
    int squarings = norm > 0.25 ? int(std::ceil(std::log2(norm / 0.25))) : 0;
    double scale = dt / std::ldexp(1.0, squarings);
    for (int i = 0; i < n * n; i++) {
        m[i] = a[i] * scale;
        term[i] = sum[i] = (i % (n + 1) == 0) ? 1.0 : 0.0;
    }
    auto mul = [n](double const* x, double const* y, double* z) {
        for (int i = 0; i < n; i++)
            for (int j = 0; j < n; j++) {
                double s = 0;
                for (int k = 0; k < n; k++)
                    s += x[i * n + k] * y[k * n + j];
                z[i * n + j] = s;
            }
    };
    for (int p = 1; p <= 20; p++) {
        mul(term, m, tmp);
        for (int i = 0; i < n * n; i++)
            sum[i] += term[i] = tmp[i] / p;
    }
    for (int s = 0; s < squarings; s++) {
        mul(sum, sum, tmp);
        std::memcpy(sum, tmp, sizeof(double) * size_t(n * n));
    }
    std::memcpy(out, sum, sizeof(double) * size_t(n * n));
}

} // namespace trialrun

void Ccf2machine::Reset(int n, bool bMacro) {
    std::memset(y_, 0, sizeof y_);
    k_ = k12_ = k21_ = k13_ = k31_ = ka_ = 0;
    std::memset(coef_, 0, sizeof coef_);
    std::memset(expo_, 0, sizeof expo_);
    nCpt_ = n;
    bMacro_ = bMacro;
    bDoseToDepot_ = false;
}

// 'to' = the amounts of 'from' after 'dt', with the rates held. The system is of order 5:
// depot, three compartments or modes, and the constant 1 that carries the input rates.
void Ccf2machine::Propagate(double const* from, double dt, double* to) const {
    double a[25] = {}, e[25];
    auto at = [&a](int i, int j) -> double& { return a[i * 5 + j]; };
    at(0, 0) = -ka_;
    at(0, 4) = from[4];
    if (bMacro_) {
        if (bDoseToDepot_) at(0, 4) += from[5];
        for (int i = 0; i < nCpt_; i++) {
            at(1 + i, 0) = coef_[i] * ka_;
            at(1 + i, 1 + i) = -expo_[i];
            at(1 + i, 4) = bDoseToDepot_ ? 0 : coef_[i] * from[5];
        }
    } else {
        at(1, 0) = ka_;
        at(1, 1) = -(k_ + k12_ + k13_);
        at(1, 2) = k21_;
        at(1, 3) = k31_;
        at(1, 4) = from[5];
        at(2, 1) = k12_;
        at(2, 2) = -k21_;
        at(3, 1) = k13_;
        at(3, 3) = -k31_;
    }
    trialrun::MatrixExp(5, a, dt, e);
    double z[5] = {from[0], from[1], from[2], from[3], 1};
    for (int i = 0; i < 4; i++) {
        double s = 0;
        for (int j = 0; j < 5; j++)
            s += e[i * 5 + j] * z[j];
        to[i] = s;
    }
    to[4] = from[4];
    to[5] = from[5];
}

// The state as seen at the time of values: moved forward from the time of state if that is
// later, else as it stands.
double const* Ccf2machine::ValuesNow(double* buf) const {
    if (tGetVal_ <= tState_) return y_;
    Propagate(y_, tGetVal_ - tState_, buf);
    return buf;
}

void Ccf2machine::Advance(double dt) {
    if (dt > 0) Propagate(y_, dt, y_);
    tState_ += dt;
}

void Ccf2machine::GetState(double* y) {
    std::memcpy(y, y_, sizeof y_);
}

void Ccf2machine::SetState(double const* y) {
    std::memcpy(y_, y, sizeof y_);
}

void Ccf2machine::SetTimeOfStateCF(double t) {
    tState_ = t;
}

void Ccf2machine::SetTimeOfGetValCF(double t) {
    tGetVal_ = t;
}

void Ccf2machine::InitMicro1(double k) {
    Reset(1, false);
    k_ = k;
}

void Ccf2machine::InitMicro2(double k, double k12, double k21) {
    Reset(2, false);
    k_ = k, k12_ = k12, k21_ = k21;
}

void Ccf2machine::InitMicro3(double k, double k12, double k21, double k13, double k31) {
    Reset(3, false);
    k_ = k, k12_ = k12, k21_ = k21, k13_ = k13, k31_ = k31;
}

void Ccf2machine::InitMacro1(double alpha) {
    InitMacro1New(0, 0, 1, alpha);
}

void Ccf2machine::InitMacro2(double alpha, double b, double beta) {
    InitMacro2New(0, 0, 1 - b, alpha, b, beta);
}

void Ccf2machine::InitMacro3(double alpha, double b, double beta, double c, double gamma) {
    InitMacro3New(0, 0, 1 - b - c, alpha, b, beta, c, gamma);
}

// Only compartment 1 takes a first-order input in these forms.
void Ccf2machine::Add1stOrd(int /*n*/, double ka) {
    ka_ = ka;
}

void Ccf2machine::InitMacro1New(double /*c*/, double /*d*/, double a, double alpha) {
    Reset(1, true);
    coef_[0] = a, expo_[0] = alpha;
}

void Ccf2machine::InitMacro2New(double /*c*/, double /*d*/, double a, double alpha, double b,
                                double beta) {
    Reset(2, true);
    coef_[0] = a, expo_[0] = alpha, coef_[1] = b, expo_[1] = beta;
}

void Ccf2machine::InitMacro3New(double /*c*/, double /*d*/, double a, double alpha, double b,
                                double beta, double cc, double gamma) {
    Reset(3, true);
    coef_[0] = a, expo_[0] = alpha, coef_[1] = b, expo_[1] = beta, coef_[2] = cc, expo_[2] = gamma;
}

void Ccf2machine::AppendKaNew(double ka) {
    ka_ = ka;
    bDoseToDepot_ = true;
}

double Ccf2machine::GetValA() {
    double buf[6];
    return ValuesNow(buf)[0];
}

void Ccf2machine::SetValA(double v) {
    y_[0] = v;
}

void Ccf2machine::AddValA(double v) {
    y_[0] += v;
}

double Ccf2machine::GetVal1() {
    double buf[6];
    double const* y = ValuesNow(buf);
    return bMacro_ ? y[1] + y[2] + y[3] : y[1];
}

void Ccf2machine::SetVal1(double v) {
    y_[1] = bMacro_ ? v - y_[2] - y_[3] : v;
}

void Ccf2machine::AddVal1(double v) {
    if (bDoseToDepot_) {
        y_[0] += v;
        return;
    }
    if (!bMacro_) {
        y_[1] += v;
        return;
    }
    for (int i = 0; i < 3; i++)
        y_[1 + i] += coef_[i] * v;
}

double Ccf2machine::GetVal2() {
    double buf[6];
    return ValuesNow(buf)[2];
}

void Ccf2machine::SetVal2(double v) {
    y_[2] = v;
}

void Ccf2machine::AddVal2(double v) {
    y_[2] += v;
}

double Ccf2machine::GetVal3() {
    double buf[6];
    return ValuesNow(buf)[3];
}

void Ccf2machine::SetVal3(double v) {
    y_[3] = v;
}

void Ccf2machine::AddVal3(double v) {
    y_[3] += v;
}

double Ccf2machine::GetRateA() {
    return y_[4];
}

void Ccf2machine::SetRateA(double v) {
    y_[4] = v;
}

void Ccf2machine::AddRateA(double v) {
    y_[4] += v;
}

double Ccf2machine::GetRate1() {
    return y_[5];
}

void Ccf2machine::SetRate1(double v) {
    y_[5] = v;
}

void Ccf2machine::AddRate1(double v) {
    y_[5] += v;
}
