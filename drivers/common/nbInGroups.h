#pragma once
/**
 * Loops over the points of a block.
 */

// Runs body(0) to body(n - 1). Of the rounds with a fixed number of steps the compiler makes
// vector code, also where it spends nothing on other loops.
template <class Body>
void nbpInGroups(int n, Body body)
{
    constexpr int group = 16;
    int k = 0;
    for (; k + group <= n; k += group)
        for (int j = 0; j < group; ++j)
            body(k + j);
    for (; k < n; ++k)
        body(k);
}
