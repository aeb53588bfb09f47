#include "platform/linux/vision/OneDnnConvolutions.h"

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <opencv2/dnn.hpp>
#include <seccomp.h>
#include <sys/mman.h>

#include "platform/linux/vision/OneDnnConvolution.h"

namespace lanternfly {
namespace {

struct Shape {
    std::string name;
    int inputs = 8, outputs = 16, height = 20, width = 31;
    int kernelHeight = 3, kernelWidth = 3, stride = 1, dilation = 1, groups = 1;
    std::vector<int> pads{1, 1, 1, 1}; // top, left, bottom, right
    bool hasBias = true;
    std::vector<const char*> after{}; // the types of layers that follow
};

void PrintTo(const Shape& shape, std::ostream* stream) {
    *stream << shape.name;
}

cv::Mat random(std::vector<int> sizes, int seed) {
    cv::Mat values(sizes, CV_32F);
    cv::RNG(static_cast<uint64_t>(seed)).fill(values, cv::RNG::UNIFORM, -1, 1);
    return values;
}

cv::Mat inputOf(const Shape& shape, int seed = 1) {
    return random({1, shape.inputs, shape.height, shape.width}, seed);
}

cv::dnn::LayerParams parametersOf(const Shape& shape) {
    cv::dnn::LayerParams parameters;
    parameters.set("kernel_h", shape.kernelHeight);
    parameters.set("kernel_w", shape.kernelWidth);
    parameters.set("stride", shape.stride);
    parameters.set("dilation", shape.dilation);
    parameters.set("group", shape.groups);
    parameters.set("num_output", shape.outputs);
    parameters.set("bias_term", shape.hasBias);
    parameters.set("pad", cv::dnn::DictValue::arrayInt(shape.pads.data(), 4));
    parameters.blobs.push_back(random(
        {shape.outputs, shape.inputs / shape.groups, shape.kernelHeight, shape.kernelWidth}, 2));
    if (shape.hasBias) parameters.blobs.push_back(random({1, shape.outputs}, 3));
    return parameters;
}

// Layers are made when a network runs for the first time.
cv::dnn::Net networkOf(const Shape& shape, const cv::dnn::LayerParams& convolution) {
    cv::dnn::Net network;
    cv::dnn::LayerParams parameters = convolution;
    network.addLayerToPrev("convolution", "Convolution", parameters);
    for (const std::string type : shape.after) {
        cv::dnn::LayerParams next;
        if (type == "Scale") {
            next.set("bias_term", true);
            next.blobs = {random({1, shape.outputs}, 4), random({1, shape.outputs}, 5)};
        }
        network.addLayerToPrev(type, type, next);
    }
    network.setInput(inputOf(shape));
    network.forward();
    return network;
}

cv::dnn::Net fasterNetworkOf(const Shape& shape, const cv::dnn::LayerParams& convolution) {
    const OneDnnConvolutions faster;
    return networkOf(shape, convolution);
}

bool isOneDnn(cv::dnn::Net network) {
    return !network.getLayer("convolution").dynamicCast<OneDnnConvolution>().empty();
}

cv::Mat answerOf(cv::dnn::Net network, const cv::Mat& input) {
    network.setInput(input);
    return network.forward().clone();
}

// As a hardened service is started.
void forbidNewCode() {
    const auto filter = seccomp_init(SCMP_ACT_ALLOW);
    for (const int call : {SCMP_SYS(mmap), SCMP_SYS(mprotect)})
        ASSERT_EQ(seccomp_rule_add(filter, SCMP_ACT_ERRNO(EACCES), call, 1,
                                   SCMP_A2(SCMP_CMP_MASKED_EQ, PROT_EXEC, PROT_EXEC)),
                  0);
    ASSERT_EQ(seccomp_load(filter), 0);
    seccomp_release(filter);
}

class OneDnnConvolutionsOf : public testing::TestWithParam<Shape> {
protected:
    void SetUp() override {
        if (!OneDnnConvolutions::areFaster()) GTEST_SKIP() << "this processor has no AVX2";
    }
};

} // namespace

TEST_P(OneDnnConvolutionsOf, ComputeWhatOpenCvComputes) {
    const Shape& shape = GetParam();
    const auto parameters = parametersOf(shape);
    const cv::dnn::Net plain = networkOf(shape, parameters);
    const cv::dnn::Net faster = fasterNetworkOf(shape, parameters);
    ASSERT_FALSE(isOneDnn(plain));
    ASSERT_TRUE(isOneDnn(faster));
    for (int seed = 10; seed < 13; ++seed) {
        const cv::Mat input = inputOf(shape, seed);
        const cv::Mat wanted = answerOf(plain, input), got = answerOf(faster, input);
        ASSERT_EQ(wanted.size, got.size);
        EXPECT_LT(cv::norm(wanted, got, cv::NORM_INF), 1e-4) << "of sums of about 8";
        EXPECT_GT(cv::norm(wanted, cv::NORM_INF), 0.5);
    }
}

TEST_P(OneDnnConvolutionsOf, GiveEqualBitsForEqualInputs) {
    const auto parameters = parametersOf(GetParam());
    const cv::dnn::Net one = fasterNetworkOf(GetParam(), parameters);
    const cv::dnn::Net other = fasterNetworkOf(GetParam(), parameters);
    const cv::Mat input = inputOf(GetParam(), 20);
    const cv::Mat first = answerOf(one, input);
    answerOf(one, inputOf(GetParam(), 21));
    EXPECT_EQ(cv::norm(first, answerOf(one, input), cv::NORM_INF), 0);
    EXPECT_EQ(cv::norm(first, answerOf(other, input), cv::NORM_INF), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, OneDnnConvolutionsOf,
    testing::Values(
        Shape{.name = "plain"}, Shape{.name = "ofAPicture", .inputs = 3, .stride = 2},
        Shape{.name = "single", .kernelHeight = 1, .kernelWidth = 1, .pads = {0, 0, 0, 0}},
        Shape{.name = "tall", .kernelHeight = 5, .kernelWidth = 1, .pads = {2, 0, 2, 0}},
        Shape{.name = "wide", .stride = 2, .pads = {2, 0, 2, 0}},
        Shape{.name = "withoutPads", .pads = {0, 0, 0, 0}},
        Shape{.name = "dilated", .dilation = 2, .pads = {2, 2, 2, 2}},
        Shape{.name = "grouped", .groups = 2},
        Shape{.name = "depthwise", .outputs = 8, .groups = 8},
        Shape{.name = "withoutBias", .hasBias = false},
        Shape{.name = "oddChannels", .inputs = 5, .outputs = 11},
        Shape{.name = "beforeReLU", .after = {"ReLU"}},
        Shape{.name = "beforeReLU6", .after = {"ReLU6"}},
        Shape{.name = "beforeSigmoid", .after = {"Sigmoid"}},
        Shape{.name = "beforeScale", .after = {"Scale"}},
        Shape{.name = "beforeScaleAndReLU", .after = {"Scale", "ReLU"}}),
    [](const auto& test) { return test.param.name; });

TEST(OneDnnConvolutions, LeaveToOpenCvWhatDoesNotSayHowMuchItPads) {
    const Shape shape{.name = "same", .stride = 2};
    auto parameters = parametersOf(shape);
    parameters.erase("pad");
    parameters.set("pad_mode", std::string("SAME"));
    const cv::dnn::Net faster = fasterNetworkOf(shape, parameters);
    EXPECT_FALSE(isOneDnn(faster));
    const cv::Mat input = inputOf(shape, 30);
    const cv::dnn::Net plain = networkOf(shape, parameters);
    EXPECT_EQ(cv::norm(answerOf(plain, input), answerOf(faster, input), cv::NORM_INF), 0);
}

TEST(OneDnnConvolutions, LeaveOtherNetworksOfTheProgramAlone) {
    const Shape shape{.name = "plain"};
    const auto parameters = parametersOf(shape);
    std::optional<OneDnnConvolutions> outer(std::in_place), inner(std::in_place);
    inner.reset();
    EXPECT_EQ(isOneDnn(networkOf(shape, parameters)), OneDnnConvolutions::areFaster());
    outer.reset();
    EXPECT_FALSE(isOneDnn(networkOf(shape, parameters)));
}

TEST(OneDnnConvolutionsDeathTest, AreNotUsedWhereAProgramMayNotMakeCode) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const Shape shape{.name = "plain"};
    EXPECT_EXIT(
        {
            forbidNewCode();
            const bool isFaster = isOneDnn(fasterNetworkOf(shape, parametersOf(shape)));
            std::_Exit(isFaster ? EXIT_FAILURE : EXIT_SUCCESS);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
}

} // namespace lanternfly
