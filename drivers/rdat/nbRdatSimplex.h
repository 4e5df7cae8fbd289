#pragma once
/**
 * The lowest point of a function of pixel and line: the downhill simplex of Nelder and Mead
 * (Computer Journal 7, 1965, p. 308), kept near an image.
 */
#include <algorithm>
#include <cmath>
#include <utility>

struct NbRdatPoint {
    double pixel = 0;
    double line = 0;
};

struct NbRdatVertex {
    NbRdatPoint at;
    double value = 0;
};

// Moves the three vertices, whose values need not be set, until the best one is found. False
// after 300 rounds without an end; `best` is then unwritten. value(point) is the function.
template <class Function>
bool nbpRdatSimplex(NbRdatVertex (&v)[3], int columns, int lines, Function value, NbRdatPoint* best)
{
    constexpr int mostRounds = 300;
    constexpr double smallestEdge = 0.001; // pixel
    const auto between = [](const NbRdatPoint& a, const NbRdatPoint& b, double part) {
        return NbRdatPoint{a.pixel + (b.pixel - a.pixel) * part, a.line + (b.line - a.line) * part};
    };
    const auto edge = [&](int i, int j) {
        return std::hypot(v[i].at.pixel - v[j].at.pixel, v[i].at.line - v[j].at.line);
    };
    const auto inside = [&](const NbRdatVertex& vertex) {
        return (vertex.at.pixel >= -0.5 && vertex.at.pixel < columns - 0.5) ||
               (vertex.at.line >= -0.5 && vertex.at.line < lines - 0.5);
    };
    // Three values are no work for std::stable_sort, which asks for memory each time.
    const auto settle = [&](int i) {
        if (v[i].value < v[i - 1].value) std::swap(v[i], v[i - 1]);
    };
    for (NbRdatVertex& vertex : v)
        vertex.value = value(vertex.at);
    for (int round = 1; round <= mostRounds; ++round) {
        settle(1);
        settle(2);
        settle(1);
        const bool small =
            edge(0, 1) < smallestEdge && edge(1, 2) < smallestEdge && edge(2, 0) < smallestEdge;
        if (small || std::none_of(v, v + 3, inside)) {
            *best = v[0].at;
            return true;
        }
        const NbRdatPoint centre = between(v[0].at, v[1].at, 0.5);
        NbRdatVertex& worst = v[2];
        // Half way from the worst vertex to the centre; where that is no better, the triangle
        // shrinks to the best vertex.
        const auto contract = [&] {
            const NbRdatPoint p = between(centre, worst.at, 0.5);
            const double atP = value(p);
            if (atP < worst.value) {
                worst = {p, atP};
                return;
            }
            // Deliberate: the vertices that move keep their old values. Fresh ones cost two
            // calls a round, and the positions found would differ in the last digits.
            for (int i = 1; i < 3; ++i)
                v[i].at = between(v[0].at, v[i].at, 0.5);
        };
        const NbRdatPoint r = between(centre, worst.at, -1.0);
        const double atR = value(r);
        if (atR < v[0].value) {
            const NbRdatPoint e = between(centre, r, 2.0);
            const double atE = value(e);
            worst = atE < atR ? NbRdatVertex{e, atE} : NbRdatVertex{r, atR};
        } else if (!(atR < worst.value)) {
            contract();
        } else {
            const bool poor = atR > v[1].value;
            worst = {r, atR};
            if (poor) contract();
        }
    }
    return false;
}
