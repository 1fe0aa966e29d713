// Dual numbers: a value with the derivatives by N parameters in 'b'.
#pragma once

#include <cmath>

template <int N, typename TAG> struct DN {
    double a = 0.0;
    double b[N > 0 ? N : 1] = {};
    DN() = default;

    DN(double v) : a(v) {}

    explicit operator double() const { return a; }

    DN& operator+=(const DN& o);
    DN& operator-=(const DN& o);
    DN& operator*=(const DN& o);
    DN& operator/=(const DN& o);
};

template <int N, typename T> DN<N, T> operator+(const DN<N, T>&, const DN<N, T>&);
template <int N, typename T> DN<N, T> operator-(const DN<N, T>&, const DN<N, T>&);
template <int N, typename T> DN<N, T> operator*(const DN<N, T>&, const DN<N, T>&);
template <int N, typename T> DN<N, T> operator/(const DN<N, T>&, const DN<N, T>&);
template <int N, typename T> DN<N, T> operator+(const DN<N, T>&, double);
template <int N, typename T> DN<N, T> operator-(const DN<N, T>&, double);
template <int N, typename T> DN<N, T> operator*(const DN<N, T>&, double);
template <int N, typename T> DN<N, T> operator/(const DN<N, T>&, double);
template <int N, typename T> DN<N, T> operator+(double, const DN<N, T>&);
template <int N, typename T> DN<N, T> operator-(double, const DN<N, T>&);
template <int N, typename T> DN<N, T> operator*(double, const DN<N, T>&);
template <int N, typename T> DN<N, T> operator/(double, const DN<N, T>&);
template <int N, typename T> DN<N, T> operator-(const DN<N, T>&);
template <int N, typename T> bool operator<(const DN<N, T>&, const DN<N, T>&);
template <int N, typename T> bool operator>(const DN<N, T>&, const DN<N, T>&);
template <int N, typename T> bool operator<=(const DN<N, T>&, const DN<N, T>&);
template <int N, typename T> bool operator>=(const DN<N, T>&, const DN<N, T>&);
template <int N, typename T> bool operator==(const DN<N, T>&, const DN<N, T>&);
template <int N, typename T> bool operator!=(const DN<N, T>&, const DN<N, T>&);
template <int N, typename T> bool operator<(const DN<N, T>&, double);
template <int N, typename T> bool operator>(const DN<N, T>&, double);
template <int N, typename T> bool operator<=(const DN<N, T>&, double);
template <int N, typename T> bool operator>=(const DN<N, T>&, double);
template <int N, typename T> bool operator==(const DN<N, T>&, double);
template <int N, typename T> bool operator!=(const DN<N, T>&, double);
template <int N, typename T> bool operator<(double, const DN<N, T>&);
template <int N, typename T> bool operator>(double, const DN<N, T>&);
template <int N, typename T> DN<N, T> pow(const DN<N, T>&, const DN<N, T>&);
template <int N, typename T> DN<N, T> pow(const DN<N, T>&, double);
template <int N, typename T> DN<N, T> pow(double, const DN<N, T>&);
template <int N, typename T> DN<N, T> exp(const DN<N, T>&);
template <int N, typename T> DN<N, T> log(const DN<N, T>&);
template <int N, typename T> DN<N, T> sqrt(const DN<N, T>&);
template <int N, typename T> DN<N, T> fabs(const DN<N, T>&);
template <int N, typename T> DN<N, T> abs(const DN<N, T>&);
template <int N, typename T> DN<N, T> sin(const DN<N, T>&);
template <int N, typename T> DN<N, T> cos(const DN<N, T>&);
template <int N, typename T> bool isfinite(const DN<N, T>&);
