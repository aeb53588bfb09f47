#include "Choreography.h"

namespace presenter {

namespace {

using P = PoseName;

const V3 downR{-23, -52, -66}, downL{23, -52, -66};

Choreography pinchLoop() {
    Choreography c;
    c.length = 4;
    auto& [right, left] = c.hand;
    right.places = {{0, {-21, -12, -62}, 8, 10, -12},
                    {2, {-19, -10, -61}, 6, 14, -14},
                    {4, {-21, -12, -62}, 8, 10, -12}};
    for (int i = 0; i < 4; i++) {
        float b = float(i);
        right.poses.insert(right.poses.end(), {{b, P::PinchOpen},
                                               {b + .38f, P::PinchOpen},
                                               {b + .50f, P::PinchClosed},
                                               {b + .82f, P::PinchClosed},
                                               {b + .94f, P::PinchOpen}});
    }
    right.poses.push_back({4.f, P::PinchOpen});
    left.places = {{0, downL, 0, 0, 0}, {4, downL, 0, 0, 0}};
    left.poses = {{0, P::Relaxed}, {4, P::Relaxed}};
    return c;
}

Choreography demo() {
    Choreography c;
    c.length = 36;
    c.heart = {{16.75f, 20.35f}, 8.6f};
    c.smiles = {{12.4f, 15.8f}, {22.2f, 25.2f}, {31.4f, 36.f}};
    c.glances = {{{21.6f, 25.4f}, {-22, 6, -60}}};
    auto& [right, left] = c.hand;
    right.places = {{0, downR, 0, 10, -20},
                    {1.9f, downR, 0, 10, -20},
                    {2.9f, {-26, -10, -62}, 12, 6, -8},
                    {3.7f, {-26, -9, -62}, 8, 8, -10},
                    {4.45f, {-26, -9, -62}, 8, 12, -14},
                    // drag along an arc under the chin, to the other side of the picture
                    {5.2f, {-16, -14.5f, -61}, 2, 14, -14},
                    {5.9f, {-4, -17.5f, -60}, -8, 12, -16},
                    {6.8f, {10, -14.5f, -60}, -22, 10, -16},
                    {7.1f, {11, -14, -60}, -23, 10, -16},
                    // towards the camera and back
                    {8.5f, {2, -12.5f, -44}, -18, 12, -14},
                    {8.9f, {2, -12.5f, -44}, -18, 12, -14},
                    {10.05f, {-2, -13, -60}, -8, 12, -16},
                    {10.2f, {-2, -13, -60}, -8, 12, -16},
                    // throw to the right, released on the way
                    {10.85f, {18, -9, -60}, -26, 10, -16},
                    {11.2f, {18, -9, -60}, -26, 10, -16},
                    {11.75f, {0, -18.5f, -60}, -8, 8, -12},
                    {12.4f, {-21, -12, -62}, 8, 4, -6},
                    // the peace sign, twice
                    {13.6f, {-21, -11.5f, -62}, 7, 5, -6},
                    {15.4f, {-22, -12, -62}, 8, 4, -6},
                    // draw a heart
                    {16.3f, {-21, -8, -61}, 6, 44, -24},
                    {20.5f, {-21, -8, -61}, 6, 44, -24},
                    {21.1f, {-22, -11, -62}, 9, 8, -10},
                    {22.2f, downR, 0, 10, -20},
                    // both hands: apart, this one farther away, together
                    {25.4f, downR, 0, 10, -20},
                    {26.4f, {-22, -12, -62}, 10, 8, -10},
                    {26.95f, {-13, -12, -61}, 4, 14, -14},
                    {27.4f, {-13, -12, -61}, 4, 14, -14},
                    {28.3f, {-23, -9, -61}, 14, 12, -12},
                    {29.3f, {-23, -11, -67}, 14, 10, -12},
                    {29.6f, {-23, -11, -67}, 14, 10, -12},
                    {30.6f, {-12, -12, -61}, 4, 14, -14},
                    {30.9f, {-12, -12, -61}, 4, 14, -14},
                    // wave
                    {31.8f, {-22, -10, -62}, 8, 4, -6},
                    {32.1f, {-22.6f, -10, -62}, 24, 4, -6},
                    {32.4f, {-21.4f, -10, -62}, -6, 4, -6},
                    {32.7f, {-22.6f, -10, -62}, 24, 4, -6},
                    {33.f, {-21.4f, -10, -62}, -6, 4, -6},
                    {33.4f, {-22, -10.5f, -62}, 9, 4, -6},
                    {34.5f, downR, 0, 10, -20},
                    {36, downR, 0, 10, -20}};
    right.poses = {{0, P::Relaxed},         {2.2f, P::Relaxed},       {2.8f, P::Open},
                   {3.5f, P::Open},         {3.85f, P::PinchOpen},    {4.2f, P::PinchOpen},
                   {4.32f, P::PinchClosed}, {10.6f, P::PinchClosed},  {10.72f, P::PinchOpen},
                   {11.1f, P::Open},        {12.3f, P::Open},         {12.65f, P::Peace},
                   {13.55f, P::Peace},      {13.9f, P::Open},         {14.25f, P::Open},
                   {14.6f, P::Peace},       {15.5f, P::Peace},        {15.85f, P::Open},
                   {16.2f, P::PinchOpen},   {16.45f, P::PinchOpen},   {16.57f, P::PinchClosed},
                   {20.5f, P::PinchClosed}, {20.62f, P::PinchOpen},   {21.f, P::Open},
                   {21.4f, P::Open},        {21.8f, P::Relaxed},      {25.6f, P::Relaxed},
                   {26.2f, P::Open},        {26.4f, P::Open},         {26.75f, P::PinchOpen},
                   {27.15f, P::PinchOpen},  {27.27f, P::PinchClosed}, {30.75f, P::PinchClosed},
                   {30.87f, P::PinchOpen},  {31.3f, P::Open},         {34.2f, P::Open},
                   {34.6f, P::Relaxed},     {36, P::Relaxed}};
    left.places = {{0, downL, 0, 10, -20},
                   {25.3f, downL, 0, 10, -20},
                   {26.3f, {22, -12, -62}, 10, 8, -10},
                   {26.8f, {13, -12, -61}, 4, 14, -14},
                   {27.4f, {13, -12, -61}, 4, 14, -14},
                   {28.3f, {21, -11, -60}, 12, 12, -12},
                   // nearer
                   {29.3f, {20, -13, -47}, 12, 12, -12},
                   {29.6f, {20, -13, -47}, 12, 12, -12},
                   {30.6f, {13, -12, -61}, 4, 14, -14},
                   {30.9f, {13, -12, -61}, 4, 14, -14},
                   {31.3f, {16, -12, -61}, 6, 10, -12},
                   {32.3f, downL, 0, 10, -20},
                   {36, downL, 0, 10, -20}};
    left.poses = {{0, P::Relaxed},          {25.5f, P::Relaxed},     {26.1f, P::Open},
                  {26.35f, P::Open},        {26.65f, P::PinchOpen},  {26.85f, P::PinchOpen},
                  {26.97f, P::PinchClosed}, {30.7f, P::PinchClosed}, {30.82f, P::PinchOpen},
                  {31.2f, P::Open},         {32.f, P::Open},         {32.4f, P::Relaxed},
                  {36, P::Relaxed}};
    return c;
}

} // namespace

const Choreography& choreography(const std::string& script) {
    static const Choreography theDemo = demo(), thePinchLoop = pinchLoop();
    return script == "pinch_loop" ? thePinchLoop : theDemo;
}

} // namespace presenter
