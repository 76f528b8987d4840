#pragma once

// The comparison of a size, width, height or duration test, by its place in the
// operator lists of both search pages ("<", "=", ">").
inline char ComparisonOperatorAt(int index)
{
    switch (index) {
    case 1:
        return '=';
    case 2:
        return '>';
    default:
        return '<';
    }
}
