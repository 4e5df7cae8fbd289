#pragma once
/**
 * Times of the GVAR documentation block: binary-coded decimal, as a number YYYYDDDHHMMSSmmm.
 */
#include <cstddef>
#include <span>

// Eight bytes of binary-coded decimal, high digit first, as a number.
double nbpGvarBcd(std::span<const std::byte> bytes);

// a - b in seconds.
double nbpGvarTimeDiff(double a, double b);

double nbpGvarMjd(double bcd);
