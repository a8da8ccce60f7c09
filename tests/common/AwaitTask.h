#pragma once

#include <QCoro/QCoroTask>
#include <QEventLoop>
#include <optional>

// Runs the main thread's event loop until the task has finished and returns its result; unlike
// QCoro::waitFor it does not need a default-constructible result.
template<typename T> T awaitTask(QCoro::Task<T> &&task)
{
    std::optional<T> result;
    QEventLoop loop;
    auto wait = [](QCoro::Task<T> task, std::optional<T> &out, QEventLoop &l) -> QCoro::Task<> {
        out.emplace(co_await task);
        l.quit();
    };
    auto waiting = wait(std::move(task), result, loop);
    if (!result)
        loop.exec();
    return std::move(*result);
}
