// Convolutions by oneDNN in the networks that OpenCV's dnn runs: its own take about twice the time.
// Threads: any for the class; a network made under it is bound as every other.
#pragma once

namespace lanternfly {

// While one lives, the convolutions of a network that is read and run for the first time become
// oneDNN's, as far as they have two dimensions and say how much they pad. All others stay OpenCV's,
// and all do on a processor without AVX2, where oneDNN is the slower one, and where a program may
// not make code. The results differ by rounding.
class OneDnnConvolutions {
public:
    OneDnnConvolutions();
    ~OneDnnConvolutions();
    OneDnnConvolutions(const OneDnnConvolutions&) = delete;
    OneDnnConvolutions& operator=(const OneDnnConvolutions&) = delete;

    static bool areFaster();
};

} // namespace lanternfly
