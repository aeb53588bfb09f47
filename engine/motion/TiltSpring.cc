#include "motion/TiltSpring.h"

#include <cmath>

namespace lanternfly {

namespace {

constexpr double firstStepSeconds = 1.0 / 60;
constexpr double leastStepSeconds = 0.001;
constexpr double greatestStepSeconds = 0.05; // a longer step would make the spring swing by itself
constexpr float degreesPerRadian = 57.29578f;

} // namespace

float2 TiltSpring::step(float2 velocity, const TiltConfig& config, float drive, double now) {
    const double elapsed = lastTime > 0 ? now - lastTime : firstStepSeconds;
    const float dt = static_cast<float>(glm::clamp(elapsed, leastStepSeconds, greatestStepSeconds));
    float2 acceleration = (velocity - lastVelocity) / dt;
    lastVelocity = velocity;
    lastTime = now;

    acceleration = glm::clamp(acceleration, -config.accelClamp, config.accelClamp);
    const float2 leaning{acceleration.y * drive, -acceleration.x * drive};
    const float2 target = glm::clamp(leaning, -config.maxAngleRad, config.maxAngleRad);

    const float2 angular = config.stiffness * (target - thetaRad) - config.damping * omega;
    omega += angular * dt;
    thetaRad = glm::clamp(thetaRad + omega * dt, -config.maxAngleRad, config.maxAngleRad);

    // A damping far too large for the frame's step lets omega grow without end.
    if (!std::isfinite(omega.x + omega.y) || !std::isfinite(thetaRad.x + thetaRad.y))
        thetaRad = omega = {0, 0};
    return thetaRad * degreesPerRadian;
}

} // namespace lanternfly
