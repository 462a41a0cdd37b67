#include "TavrinKit/Effects/Easing.h"

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {
namespace {

double cube(double x) {
    return x * x * x;
}
double fifthPower(double x) {
    return cube(x) * x * x;
}

} // namespace

double Easing::quintInOut(double t) {
    t = clampedTo(t, 0, 1);
    return t < 0.5 ? 16 * fifthPower(t) : 1 - fifthPower(2 - 2 * t) / 2;
}

double Easing::cubicInOut(double t) {
    t = clampedTo(t, 0, 1);
    return t < 0.5 ? 4 * cube(t) : 1 - cube(2 - 2 * t) / 2;
}

double Easing::cubicOut(double t) {
    return 1 - cube(1 - clampedTo(t, 0, 1));
}

} // namespace tavrin
