// Dual numbers: a value 'a' with its derivatives 'b' by N parameters, and their arithmetic.
#pragma once

#include <cmath>

template <int N, typename TAG> struct DN {
    double a = 0.0;
    double b[N > 0 ? N : 1] = {};

    DN() = default;

    DN(double v) : a(v) {}

    explicit operator double() const { return a; }

    // The value f(a) with the derivative part scaled by f'(a).
    DN Chain(double value, double slope) const {
        DN r(value);
        for (int i = 0; i < N; i++)
            r.b[i] = slope * b[i];
        return r;
    }

    DN& operator+=(const DN& o) {
        a += o.a;
        for (int i = 0; i < N; i++)
            b[i] += o.b[i];
        return *this;
    }

    DN& operator-=(const DN& o) { return *this += -o; }

    DN& operator*=(const DN& o) { return *this = *this * o; }

    DN& operator/=(const DN& o) { return *this = *this / o; }

    friend DN operator-(const DN& x) { return x.Chain(-x.a, -1.0); }

    friend DN operator+(const DN& x, const DN& y) {
        DN r = x;
        return r += y;
    }

    friend DN operator-(const DN& x, const DN& y) { return x + (-y); }

    friend DN operator*(const DN& x, const DN& y) {
        DN r(x.a * y.a);
        for (int i = 0; i < N; i++)
            r.b[i] = x.b[i] * y.a + x.a * y.b[i];
        return r;
    }

    friend DN operator/(const DN& x, const DN& y) {
        DN r(x.a / y.a);
        for (int i = 0; i < N; i++)
            r.b[i] = (x.b[i] * y.a - x.a * y.b[i]) / (y.a * y.a);
        return r;
    }

    friend DN operator+(const DN& x, double y) { return x + DN(y); }

    friend DN operator-(const DN& x, double y) { return x - DN(y); }

    friend DN operator*(const DN& x, double y) { return x * DN(y); }

    friend DN operator/(const DN& x, double y) { return x / DN(y); }

    friend DN operator+(double x, const DN& y) { return DN(x) + y; }

    friend DN operator-(double x, const DN& y) { return DN(x) - y; }

    friend DN operator*(double x, const DN& y) { return DN(x) * y; }

    friend DN operator/(double x, const DN& y) { return DN(x) / y; }

    friend bool operator<(const DN& x, const DN& y) { return x.a < y.a; }

    friend bool operator>(const DN& x, const DN& y) { return x.a > y.a; }

    friend bool operator<=(const DN& x, const DN& y) { return x.a <= y.a; }

    friend bool operator>=(const DN& x, const DN& y) { return x.a >= y.a; }

    friend bool operator==(const DN& x, const DN& y) { return x.a == y.a; }

    friend bool operator!=(const DN& x, const DN& y) { return x.a != y.a; }

    friend bool operator<(const DN& x, double y) { return x.a < y; }

    friend bool operator>(const DN& x, double y) { return x.a > y; }

    friend bool operator<=(const DN& x, double y) { return x.a <= y; }

    friend bool operator>=(const DN& x, double y) { return x.a >= y; }

    friend bool operator==(const DN& x, double y) { return x.a == y; }

    friend bool operator!=(const DN& x, double y) { return x.a != y; }

    friend bool operator<(double x, const DN& y) { return x < y.a; }

    friend bool operator>(double x, const DN& y) { return x > y.a; }

    friend bool operator<=(double x, const DN& y) { return x <= y.a; }

    friend bool operator>=(double x, const DN& y) { return x >= y.a; }

    friend DN exp(const DN& x) { return x.Chain(std::exp(x.a), std::exp(x.a)); }

    friend DN log(const DN& x) { return x.Chain(std::log(x.a), 1.0 / x.a); }

    friend DN sqrt(const DN& x) { return x.Chain(std::sqrt(x.a), 0.5 / std::sqrt(x.a)); }

    friend DN fabs(const DN& x) { return x.a < 0 ? -x : x; }

    friend DN abs(const DN& x) { return fabs(x); }

    friend DN sin(const DN& x) { return x.Chain(std::sin(x.a), std::cos(x.a)); }

    friend DN cos(const DN& x) { return x.Chain(std::cos(x.a), -std::sin(x.a)); }

    friend DN pow(const DN& x, double y) {
        return x.Chain(std::pow(x.a, y), y * std::pow(x.a, y - 1));
    }

    friend DN pow(double x, const DN& y) {
        return y.Chain(std::pow(x, y.a), std::pow(x, y.a) * std::log(x));
    }

    friend DN pow(const DN& x, const DN& y) { return exp(y * log(x)); }

    friend bool isfinite(const DN& x) { return std::isfinite(x.a); }

    friend bool isnan(const DN& x) { return std::isnan(x.a); }
};
