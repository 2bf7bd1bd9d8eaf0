// Rounding to single precision that survives the optimiser.
#ifndef KIVRENDER_SCENE_KIVSINGLEPRECISION_H
#define KIVRENDER_SCENE_KIVSINGLEPRECISION_H

// The number of single precision that lies nearest to the value, as a double. Every value that is rounded and then goes
// on in double precision goes through here: GCC 12.2 at -O2 and above vectorises neighbouring values and then drops the
// two casts of static_cast<double>(static_cast<float>(x)) as if they did nothing (seen for the first two of three
// coordinates; -fno-tree-slp-vectorize keeps them). No compiler may drop a volatile store and load. A plain cast will
// do once no compiler that we build with fails the comparison of stored shadow volumes with their reference.
inline double kivToSinglePrecision(double value) {
    const volatile float single = static_cast<float>(value);
    return single;
}

#endif
