#include "RandomScene.h"

namespace presenter {

namespace {

Lights randomLights(Rng& g) {
    const auto direction = [&](float leastZ) {
        V3 d;
        do
            d = norm({g.uni(-1, 1), g.uni(-.3f, 1), g.uni(leastZ, 1)});
        while (d.z < leastZ);
        return d;
    };
    const auto tint = [&](float strength) {
        const float warmth = g.uni(-.25f, .25f);
        return V3(1 + warmth, 1, 1 - warmth) * strength;
    };
    Lights lights;
    lights.keyD = direction(-.1f);
    lights.keyC = tint(g.uni(.7f, 3.0f));
    lights.fillD = direction(.2f);
    lights.fillC = tint(g.uni(.1f, .9f));
    lights.rimD = direction(-.9f);
    lights.rimC = tint(g.uni(0, 1.4f));
    const float ambient = g.uni(.25f, 1.1f);
    lights.up = tint(.55f * ambient);
    lights.down = tint(.3f * ambient);
    return lights;
}

Film randomFilm(Rng& g) {
    Film film;
    film.exposure = g.uni(.55f, 1.15f);
    film.noise = g.uni(.3f, 2.6f) * (g.chance(.2f) ? 1.8f : .7f);
    film.soft = g.uni(0, 1.2f);
    film.sharpen = g.uni(0, .6f);
    film.sat = g.uni(.75f, 1.15f);
    film.vignette = 0;
    const float warmth = g.uni(-.13f, .13f);
    film.balance = V3(1 + warmth, 1, 1 - warmth);
    return film;
}

Presenter randomPresenter(uint64_t seed, Rng& g) {
    Presenter presenter = presenterFor(seed);
    HandShape& shape = presenter.shape;
    for (float& length : shape.fingerLen)
        length = g.uni(.92f, 1.08f);
    shape.palmWidth = g.uni(.92f, 1.07f);
    shape.palmFlesh = g.uni(.92f, 1.1f);
    shape.nail = g.chance(.25f) ? g.uni() : 0;
    presenter.ease = g.uni(.3f, 1.4f);
    presenter.look.mottle = g.uni(.4f, 1.6f);
    presenter.look.gloss = g.uni(.4f, 1.7f);
    presenter.lights = randomLights(g);
    presenter.film = randomFilm(g);
    return presenter;
}

using PoseLibrary = std::vector<HandPose>;

HandPose anyPose(const PoseLibrary& library, Rng& g) {
    return library[g.next() % size_t(PoseName::Count)];
}

// Half of the time one of those that a presenter shows most.
HandPose likelyPose(const PoseLibrary& library, Rng& g) {
    static constexpr PoseName likely[] = {PoseName::PinchOpen,   PoseName::PinchClosed,
                                          PoseName::PinchClosed, PoseName::Ok,
                                          PoseName::Open,        PoseName::Relaxed};
    return g.chance(.5f) ? library[size_t(likely[g.next() % std::size(likely)])]
                         : anyPose(library, g);
}

// A fist, a pinch, or fingertips that nearly touch: what is easily mistaken for one another.
HandPose closedPose(const PoseLibrary& library, Rng& g) {
    const auto named = [&](PoseName name) { return library[size_t(name)]; };
    if (g.chance(.3f)) return mix(named(PoseName::Fist), named(PoseName::ThumbUp), g.uni(0, .4f));
    const HandPose pinch = g.chance(.75f) ? named(PoseName::PinchClosed) : named(PoseName::Ok);
    return mix(pinch, named(PoseName::PinchOpen), g.chance(.35f) ? 0.f : g.uni(.05f, .6f));
}

void shakeJoints(HandPose& pose, float deg, Rng& g) {
    for (int finger = 0; finger < 4; finger++) {
        pose.abd[finger] += g.nrm() * deg * .4f;
        pose.mcp[finger] += g.nrm() * deg;
        pose.pip[finger] += g.nrm() * deg;
        pose.dip[finger] += g.nrm() * deg * .6f;
    }
    pose.tAbd += g.nrm() * deg * .5f;
    pose.tPalm += g.nrm() * deg * .5f;
    pose.tRoll += g.nrm() * deg * .5f;
    pose.tMcp += g.nrm() * deg * .7f;
    pose.tIp += g.nrm() * deg;
    limitPose(pose);
}

HandPose randomPose(const PoseLibrary& library, Rng& g) {
    const HandPose first = likelyPose(library, g), second = likelyPose(library, g);
    HandPose pose = mix(first, second, g.chance(.45f) ? 0.f : g.uni());
    const bool isClosed = g.chance(.3f);
    if (isClosed) pose = closedPose(library, g);
    shakeJoints(pose, isClosed || g.chance(.35f) ? 2.f : g.uni(2, 9), g);
    return pose;
}

// Mostly the palm to the camera, but every side occurs.
Quat randomView(Rng& g) {
    const float yaw = g.chance(.66f) ? g.nrm() * 32 : g.uni(-180, 180);
    const float pitch = g.nrm() * 24 - 8;
    const float roll = g.chance(.88f) ? g.nrm() * 30 : g.uni(-180, 180);
    return euler(roll, yaw, pitch);
}

// Places hand and head. → whether the hand is before the face
bool placeHand(RandomScene& scene, Rng& g) {
    HandState& hand = scene.hand();
    hand.present = true;
    hand.rot = randomView(g);
    const float across = g.chance(.8f) ? g.uni(4, 32) : g.uni(-14, 6);
    hand.pos = V3(scene.side == 0 ? -across : across, g.uni(-24, 6), -g.uni(36, 68));
    scene.moment.headOff = V3(g.uni(-12, 12), g.uni(-4, 4), g.uni(-14, 2));
    const bool isBeforeFace = g.chance(.22f);
    if (isBeforeFace) {
        // On the line from the camera to the head, a face's width about it.
        const V3 head = V3(0, 9, -88) + scene.moment.headOff;
        const V3 face = head + V3(g.uni(-11, 11), g.uni(-13, 9), 0);
        hand.pos = face * g.uni(.45f, .75f) + hand.rot * V3(0, -9, 0);
    }
    return isBeforeFace;
}

void turnHead(Moment& moment, Rng& g) {
    moment.headRot = euler(g.nrm() * 6, g.nrm() * 18, g.nrm() * 8);
    moment.blink = g.chance(.1f) ? 1.f : 0.f;
    moment.smile = g.uni(0, .7f);
}

// The forearm follows the hand with a random bend of the wrist; the other arm rests.
void placeArms(RandomScene& scene, Rng& g) {
    const bool isRight = scene.side == 0;
    HandState& hand = scene.hand();
    scene.moment.hand[1 - scene.side].pos = V3(isRight ? 24.f : -24.f, -54, -70);
    const V3 shoulder(isRight ? -15.5f : 15.5f, -13.8f, -93);
    const V3 natural = norm(elbowFor(shoulder, hand.pos, isRight) - hand.pos);
    const V3 straight = (isRight ? hand.rot : mirrored(hand.rot)) * V3(0, -1, 0);
    const V3 bend = V3(g.nrm(), g.nrm(), g.nrm()) * .22f;
    hand.useElbow = true;
    hand.elbow = hand.pos + norm(natural * .55f + straight + bend) * 27.f;
}

// The same person's other hand beside, before or behind the first one, at any angle.
HandState handNear(const HandState& hand, const PoseLibrary& library, Rng& g) {
    HandState other;
    other.present = true;
    other.pose = anyPose(library, g);
    other.rot = euler(g.nrm() * 60, g.uni(-180, 180), g.nrm() * 30);
    const float angle = g.uni(-kPi, kPi), distanceCm = g.uni(7, 17);
    const V3 away(std::cos(angle) * distanceCm, std::sin(angle) * distanceCm, g.uni(-9, 4));
    other.pos = hand.pos + away;
    return other;
}

void moveWhileTheShutterIsOpen(RandomScene& scene, Rng& g) {
    const V3 direction{g.nrm(), g.nrm(), g.nrm() * .5f};
    const float lengthCm = g.chance(.4f) ? g.uni(0, .5f) : 0;
    const auto moved = [&](float part) {
        Moment moment = scene.moment;
        moment.hand[scene.side].pos += direction * part;
        moment.hand[scene.side].elbow += direction * part;
        return moment;
    };
    scene.before = moved(-lengthCm);
    scene.after = moved(lengthCm);
}

} // namespace

RandomScene randomScene(uint64_t seed, int number, Rng& g) {
    RandomScene scene;
    scene.presenter = randomPresenter(seed * 977 + number + 2, g);
    const PoseLibrary library = poseLibrary(scene.presenter.shape);
    scene.side = g.chance(.5f) ? 0 : 1;
    scene.hand().pose = randomPose(library, g);
    const bool isBeforeFace = placeHand(scene, g);
    turnHead(scene.moment, g);
    placeArms(scene, g);
    // Numbers of its own, so that the samples with one hand stay what they were.
    Rng second(seed * 7919ULL + number * 2 + 1);
    if (second.chance(.2f))
        scene.moment.hand[1 - scene.side] = handNear(scene.hand(), library, second);
    scene.hasBody = isBeforeFace || g.chance(.6f);
    moveWhileTheShutterIsOpen(scene, g);
    return scene;
}

} // namespace presenter
