#pragma once

#include <QEventLoop>

#include <qcoro/qcorotask.h>

#include <exception>
#include <optional>

// Runs a task to its end in a nested event loop and hands back its value or rethrows its
// exception (QCoro's own waitFor never returns when the task throws).
template<class T> T awaitTask(QCoro::Task<T> task)
{
    QEventLoop loop;
    std::optional<T> result;
    std::exception_ptr failure;
    bool done = false;
    auto runner = [&]() -> QCoro::Task<void> {
        try {
            result.emplace(co_await task);
        } catch (...) {
            failure = std::current_exception();
        }
        done = true;
        loop.quit();
    };
    auto running = runner();
    if (!done)
        loop.exec();
    if (failure)
        std::rethrow_exception(failure);
    return std::move(*result);
}

inline void awaitTask(QCoro::Task<void> task)
{
    QEventLoop loop;
    std::exception_ptr failure;
    bool done = false;
    auto runner = [&]() -> QCoro::Task<void> {
        try {
            co_await task;
        } catch (...) {
            failure = std::current_exception();
        }
        done = true;
        loop.quit();
    };
    auto running = runner();
    if (!done)
        loop.exec();
    if (failure)
        std::rethrow_exception(failure);
}
