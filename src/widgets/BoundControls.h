#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QSignalBlocker>
#include <QSpinBox>

#include <cmath>
#include <functional>
#include <vector>

namespace Tessaly {

/// Controls of which each shows one member of a value. They outlive this.
template <typename Value>
class BoundControls {
public:
    void bind(QCheckBox* box, bool Value::*member) { add(box, member, &QCheckBox::isChecked, &QCheckBox::setChecked); }
    void bind(QComboBox* box, int Value::*member) {
        add(box, member, &QComboBox::currentIndex, &QComboBox::setCurrentIndex);
    }
    void bind(QSpinBox* box, int Value::*member) { add(box, member, &QSpinBox::value, &QSpinBox::setValue); }
    void bind(QDoubleSpinBox* box, double Value::*member) {
        add(box, member, &QDoubleSpinBox::value, &QDoubleSpinBox::setValue);
    }
    /// Shows a number as a whole one.
    void bind(QSpinBox* box, double Value::*member) {
        readers_.push_back([=](Value& value) { value.*member = box->value(); });
        writers_.push_back([=](const Value& value) {
            const QSignalBlocker blocker(box);
            box->setValue(static_cast<int>(std::lround(value.*member)));
        });
    }

    /// Takes what the controls say into the members that are bound.
    void readInto(Value& value) const {
        for (const auto& read : readers_) {
            read(value);
        }
    }
    /// Shows a value without a signal.
    void show(const Value& value) const {
        for (const auto& write : writers_) {
            write(value);
        }
    }

private:
    template <typename Control, typename Member, typename Get, typename Set>
    void add(Control* control, Member Value::*member, Get get, Set set) {
        readers_.push_back([=](Value& value) { value.*member = (control->*get)(); });
        writers_.push_back([=](const Value& value) {
            const QSignalBlocker blocker(control);
            (control->*set)(value.*member);
        });
    }

    std::vector<std::function<void(Value&)>> readers_;
    std::vector<std::function<void(const Value&)>> writers_;
};

} // namespace Tessaly
