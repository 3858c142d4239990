#include "UI/CViewMetrics.h"

#include "UI/CViewBorder.h"

#include <gtest/gtest.h>

using namespace lum;

namespace {

using Op = MetricOp;

class ViewMetricsTest : public testing::Test {
protected:
    CMetricProgram number(double value) {
        CMetricProgram program;
        program.constant(net.constantIndex(value));
        return program;
    }
    CCellId cellOf(double value) {
        const CCellId id = net.newCell(nullptr);
        net.setValue(id, value);
        return id;
    }
    double run(std::initializer_list<double> values, std::initializer_list<Op> ops) {
        CMetricProgram program;
        for (const double value : values) program.append(number(value));
        for (const Op op : ops) program.op(op);
        const CCellId id = net.newCell(nullptr);
        net.setProgram(id, program);
        return net.value(id);
    }
    CViewMetrics net;
};

} // namespace

TEST_F(ViewMetricsTest, everyInstructionComputesWhatItSays) {
    EXPECT_EQ(run({7, 2}, {Op::Divide}), 3.5);
    EXPECT_EQ(run({7, 2, 9}, {Op::SafeDivide}), 3.5);
    EXPECT_EQ(run({7, 0, 9}, {Op::SafeDivide}), 9.0);
    EXPECT_EQ(run({7}, {Op::Half}), 3.5);
    EXPECT_EQ(run({-1.5}, {Op::Floor}), -2.0);
    EXPECT_EQ(run({3, 5}, {Op::Max}), 5.0);
    EXPECT_EQ(run({3, 5}, {Op::Min}), 3.0);
    EXPECT_EQ(run({2, 9, 4, 3}, {Op::MaxOfN}), 9.0);
    EXPECT_EQ(run({0}, {Op::MaxOfN}), -1e20);
    EXPECT_EQ(run({3}, {Op::MaxOfN}), -1e20) << "nothing in front of the stack";
    EXPECT_EQ(run({5, 1, 3}, {Op::Clamp}), 3.0);
    EXPECT_EQ(run({5, 6, 3}, {Op::Clamp}), 3.0) << "the upper limit wins";
    EXPECT_EQ(run({7, 2}, {Op::Subtract}), 5.0);
    EXPECT_EQ(run({7, 2}, {Op::Multiply}), 14.0);
    EXPECT_EQ(run({7, 2}, {Op::Add}), 9.0);
    EXPECT_EQ(run({-2.5}, {Op::Round}), -3.0);
    EXPECT_EQ(run({2.5}, {Op::Round}), 3.0);
}

TEST_F(ViewMetricsTest, anEqualProgramIsNotEvaluated) {
    const CCellId source = cellOf(2.0);
    const CCellId target = net.newCell(nullptr);
    CMetricProgram program;
    program.cell(source).op(Op::Half);
    net.setProgram(target, program);
    const uint64_t before = net.getEvaluationCount();
    net.setProgram(target, program);
    EXPECT_EQ(net.getEvaluationCount(), before);
    net.setValue(source, 6.0);
    EXPECT_EQ(net.value(target), 3.0);
    EXPECT_EQ(net.getEvaluationCount(), before + 1);
}

TEST_F(ViewMetricsTest, anEqualResultStopsTheWalk) {
    const CCellId source = cellOf(1.2);
    const CCellId rounded = net.newCell(nullptr);
    const CCellId behind = net.newCell(nullptr);
    CMetricProgram first, second;
    net.setProgram(rounded, first.cell(source).op(Op::Round));
    net.setProgram(behind, second.cell(rounded).op(Op::Half));
    const uint64_t before = net.getEvaluationCount();
    net.setValue(source, 1.4);
    EXPECT_EQ(net.getEvaluationCount(), before + 1);
    net.setValue(source, 1.6);
    EXPECT_EQ(net.getEvaluationCount(), before + 3);
    EXPECT_EQ(net.value(behind), 1.0);
}

TEST_F(ViewMetricsTest, aValueCutsTheCellFromItsOldOperands) {
    const CCellId source = cellOf(4.0);
    const CCellId target = net.newCell(nullptr);
    CMetricProgram program;
    net.setProgram(target, program.cell(source));
    net.setValue(target, 1.0);
    net.setValue(source, 9.0);
    EXPECT_EQ(net.value(target), 1.0);
}

TEST_F(ViewMetricsTest, aFreedIdThatComesBackIsAnotherCell) {
    const CCellId source = cellOf(4.0);
    const CCellId target = net.newCell(nullptr);
    CMetricProgram program;
    net.setProgram(target, program.cell(source));
    net.deleteCell(source);
    const CCellId again = net.newCell(nullptr);
    ASSERT_EQ(again, source);
    net.setProgram(target, program);
    net.setValue(again, 5.0);
    EXPECT_EQ(net.value(target), 5.0);
}

TEST_F(ViewMetricsTest, aCircleEndsAtTheDeepestLevel) {
    const CCellId a = net.newCell(nullptr);
    const CCellId b = net.newCell(nullptr);
    CMetricProgram toB, toA;
    net.setProgram(b, toB.cell(a).append(number(1.0)).op(Op::Add));
    const uint64_t before = net.getEvaluationCount();
    net.setProgram(a, toA.cell(b).append(number(1.0)).op(Op::Add));
    EXPECT_LE(net.getEvaluationCount() - before, 202U);
    EXPECT_NEAR(net.value(a), 201.0, 2.0);
}

TEST_F(ViewMetricsTest, aBranchingCircleEndsAsSoon) {
    const CCellId a = net.newCell(nullptr);
    CCellId copies[3];
    for (CCellId& copy : copies) {
        copy = net.newCell(nullptr);
        CMetricProgram program;
        net.setProgram(copy, program.cell(a).append(number(1.0)).op(Op::Add));
    }
    CMetricProgram sum;
    sum.cell(copies[0]).addCell(copies[1]).addCell(copies[2]);
    const uint64_t before = net.getEvaluationCount();
    net.setProgram(a, sum);
    EXPECT_LE(net.getEvaluationCount() - before, 1000U);
}

TEST_F(ViewMetricsTest, nearConstantsShareAnEntry) {
    const int entry = net.constantIndex(1000.0);
    EXPECT_EQ(net.constantIndex(1000.1), entry);
    EXPECT_EQ(net.constantIndex(999.9), entry);
    EXPECT_NE(net.constantIndex(1000.5), entry);
    EXPECT_NE(net.constantIndex(-1000.0), entry);
    EXPECT_EQ(net.constantIndex(0.0), net.constantIndex(0.0));
}

TEST(ViewBorderTest, tokensNameAndAddToSides) {
    const struct {
        const char* text;
        CViewBorder border;
        bool isGood;
    } rows[] = {
        {"LR5 TB3", {5, 3, 5, 3}, true},
        {"T3 B-5", {0, 3, 0, -5}, true},
        {"0 *LT-0.9 *RB0.9", {-0.9, -0.9, 0.9, 0.9}, true},
        {"LR5 LR4 LR0 LR4", {4, 0, 4, 0}, true},
        {"+2", {2, 2, 2, 2}, true},
        {"lr+2", {2, 0, 2, 0}, true},
        {"5 *L1 *L1", {7, 5, 5, 5}, true},
        {"", {}, true},
        {"L", {}, false},
        {"Q5", {}, false},
        {"L5e3", {}, false},
        {"L1-2", {}, false},
    };
    for (const auto& row : rows) {
        CViewBorder border;
        EXPECT_EQ(border.parse(row.text), row.isGood) << row.text;
        if (row.isGood) {
            EXPECT_EQ(border, row.border) << row.text;
        }
    }
}
