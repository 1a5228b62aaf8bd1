// What is made while this lives is not told as a leak: a program that is refused ends its process, and what a test has
// broken on purpose can't be released in order.
#pragma once

extern "C" void __lsan_disable() __attribute__((weak));
extern "C" void __lsan_enable() __attribute__((weak));

struct forgotten {
    forgotten() {
        if (__lsan_disable) __lsan_disable();
    }
    ~forgotten() {
        if (__lsan_enable) __lsan_enable();
    }
    forgotten(const forgotten &) = delete;
    forgotten &operator=(const forgotten &) = delete;
};
