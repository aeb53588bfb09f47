#include "Clip.h"

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <mutex>
#include <sstream>
#include <thread>

#include "Png.h"
#include "Room.h"
#include "Script.h"
#include "Truth.h"

namespace presenter {

namespace {

std::string quoted(const std::string& s) {
    std::string r = "'";
    for (char c : s) {
        if (c == '\'')
            r += "'\\''";
        else
            r += c;
    }
    return r + "'";
}

} // namespace

int renderClip(const Args& a) {
    Presenter P = presenterFor(a.seed);
    auto lib = poseLibrary(P.shape);
    Camera cam = webcam(a.w, a.h);
    auto room = makeRoom(a.w, a.h, a.seed, .6f, 3);
    const float fps = a.fps, shutter = .32f / 30.f;
    auto frameAt = [&](float t, int i, Frame& f, Layer* L) {
        renderMoment(scriptAt(a.script, t, lib, int(a.seed)),
                     scriptAt(a.script, t - shutter / 2, lib, int(a.seed)),
                     scriptAt(a.script, t + shutter / 2, lib, int(a.seed)), P, cam, room,
                     i * 7919 + a.seed, f, L);
    };
    if (a.still >= 0) {
        Frame f;
        Layer L[3];
        frameAt(a.still, 0, f, L);
        return writePng(a.out, f.rgb, a.w, a.h) ? 0 : 1;
    }
    float end = std::min(a.to, scriptLength(a.script));
    int first = int(a.from * fps), count = int(end * fps + .5f) - first;
    FILE* pipe = nullptr;
    if (!a.out.empty()) {
        std::string cmd = "ffmpeg -loglevel error -y -f rawvideo -pix_fmt rgb24 -s " +
                          std::to_string(a.w) + "x" + std::to_string(a.h) + " -r " +
                          std::to_string(int(a.fps)) + " -i - -c:v libx264 -preset medium -crf " +
                          std::to_string(a.crf) + " -pix_fmt yuv420p -movflags +faststart " +
                          quoted(a.out);
        pipe = popen(cmd.c_str(), "w");
        if (!pipe) {
            std::cerr << "cannot start ffmpeg\n";
            return 1;
        }
    }
    std::ofstream truth;
    if (!a.truth.empty()) truth.open(a.truth);
    std::atomic<int> next{0};
    std::mutex mu;
    std::condition_variable cv;
    std::map<int, std::pair<std::vector<uint8_t>, std::string>> done;
    int written = 0;
    auto work = [&] {
        Layer L[3];
        Frame f;
        for (int i; (i = next++) < count;) {
            {
                std::unique_lock<std::mutex> l(mu);
                cv.wait(l, [&] { return i < written + 4 * a.threads; });
            }
            float t = (first + i) / fps;
            if (pipe)
                frameAt(t, first + i, f, L);
            else
                buildScene(f.scene, scriptAt(a.script, t, lib, int(a.seed)), P);
            std::ostringstream o;
            float r[4];
            f.scene.body.faceRect(cam, r);
            char b[160];
            std::snprintf(b, sizeof b,
                          "{\"frame\":%d,\"time\":%.4f,\"width\":%d,\"height\":%d,\"face\":[%.1f,%."
                          "1f,%.1f,%.1f],\"hands\":[",
                          i, t - first / fps, cam.w, cam.h, r[0], r[1], r[2], r[3]);
            o << b;
            bool comma = false;
            for (int k = 0; k < 2; k++) {
                Truth q = measure(f.scene.g[k], cam);
                if (q.inside < 11) continue;
                if (comma) o << ",";
                comma = true;
                putHand(o, q, f.scene.g[k], k ? "left" : "right");
            }
            o << "]}\n";
            std::lock_guard<std::mutex> l(mu);
            done[i] = {f.rgb, o.str()};
            cv.notify_all();
        }
    };
    std::vector<std::thread> pool;
    for (int i = 0; i < a.threads; i++)
        pool.emplace_back(work);
    for (int i = 0; i < count; i++) {
        std::pair<std::vector<uint8_t>, std::string> d;
        {
            std::unique_lock<std::mutex> l(mu);
            cv.wait(l, [&] { return done.count(i) > 0; });
            d = std::move(done[i]);
            done.erase(i);
            written = i + 1;
            cv.notify_all();
        }
        if (pipe) fwrite(d.first.data(), 1, d.first.size(), pipe);
        if (truth) truth << d.second;
        if (i % 60 == 59) std::cerr << "frame " << i + 1 << "/" << count << "\n";
    }
    for (auto& t : pool)
        t.join();
    return pipe && pclose(pipe) ? 1 : 0;
}

int renderPoses(const Args& a) {
    Presenter P = presenterFor(a.seed);
    P.film.noise = .2f;
    P.watch = false;
    auto lib = poseLibrary(P.shape);
    const int S = 300, n = int(lib.size());
    std::vector<uint8_t> sheet(size_t(n * S) * S * 4 * 3);
    std::vector<V3> bg(size_t(S) * S, V3(.22f, .23f, .25f));
    std::atomic<int> next{0};
    std::vector<std::thread> pool;
    for (int t = 0; t < a.threads; t++)
        pool.emplace_back([&] {
            Layer L[3];
            Frame f;
            for (int i; (i = next++) < n * 4;) {
                int col = i / 4, row = i % 4;
                Moment m;
                m.hand[0].present = true;
                m.hand[0].pose = lib[size_t(col)];
                m.hand[0].rot = row == 0   ? euler(0, 0, 0)
                                : row == 1 ? euler(0, 180, 0)
                                : row == 2 ? euler(0, -80, 0)
                                           : euler(10, 25, -25);
                Camera cam = webcam(S, S);
                cam.f = 800;
                m.hand[0].pos = V3(row == 1 ? 1.5f : -1.5f, -9.5f, -64);
                if (row == 1) m.hand[0].pos.x = 2;
                renderMoment(m, m, m, P, cam, bg, i, f, L, false);
                for (int y = 0; y < S; y++)
                    std::memcpy(&sheet[(size_t(row * S + y) * n * S + size_t(col) * S) * 3],
                                &f.rgb[size_t(y) * S * 3], size_t(S) * 3);
            }
        });
    for (auto& t : pool)
        t.join();
    return writePng(a.out, sheet, n * S, 4 * S) ? 0 : 1;
}

} // namespace presenter
