#include "capture_inputs.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace
{

bool is_standard(const capture_input_t &input)
{
    return input.path == "-";
}

void look_at(capture_input_t &input)
{
    input.source.fd =
        is_standard(input) ? STDIN_FILENO : open(input.path.c_str(), O_RDONLY | O_CLOEXEC);
    if (input.source.fd < 0)
        input.system_error = errno;
    else
        input.is_capture = capture_file_open(input.source, input.file);
}

/// Keeps a flow until it is its input's turn. Returns false when nobody wants it any more.
bool put(capture_inputs_t &inputs, size_t number, flow_record_t &record)
{
    std::unique_lock lock(inputs.mutex);
    inputs.changed.wait(lock, [&inputs, number] {
        return inputs.stopped || inputs.turn == number || inputs.ahead < CAPTURE_AHEAD;
    });
    if (inputs.stopped)
        return false;
    inputs.inputs[number].flows.push_back(std::move(record));
    ++inputs.ahead;
    inputs.changed.notify_all();
    return true;
}

void read_ahead(capture_inputs_t &inputs, capture_input_t &input, size_t number)
{
    look_at(input);
    {
        const std::scoped_lock lock(inputs.mutex);
        input.known = true;
        inputs.changed.notify_all();
    }
    if (!input.is_capture)
        return;
    input.fault = capture_read(
        inputs.setup, input.source, input.file,
        [&](flow_record_t &record) {
            if (!put(inputs, number, record))
                input.source = {.fd = input.source.fd, .ended = true};
        },
        input.counts);
}

/// Takes the next input that is not standard input, when it is near enough to the one whose turn it
/// is: few are open at once. Returns the number of inputs for none.
size_t take_number(capture_inputs_t &inputs)
{
    std::unique_lock lock(inputs.mutex);
    while (inputs.next < inputs.inputs.size() && is_standard(inputs.inputs[inputs.next]))
        ++inputs.next;
    inputs.changed.wait(
        lock, [&inputs] { return inputs.stopped || inputs.next <= inputs.turn + inputs.jobs; });
    return inputs.stopped || inputs.next == inputs.inputs.size() ? inputs.inputs.size()
                                                                 : inputs.next++;
}

void read_inputs(capture_inputs_t &inputs)
{
    for (size_t number; (number = take_number(inputs)) < inputs.inputs.size();) {
        capture_input_t &input = inputs.inputs[number];
        std::exception_ptr thrown;
        try {
            read_ahead(inputs, input, number);
        } catch (...) {
            thrown = std::current_exception();
        }
        const std::scoped_lock lock(inputs.mutex);
        input.thrown = thrown;
        input.known = input.done = true;
        inputs.changed.notify_all();
    }
}

bool is_read_ahead(const capture_inputs_t &inputs, const capture_input_t &input)
{
    return inputs.jobs > 1 && !is_standard(input);
}

void stop(capture_inputs_t &inputs)
{
    const std::scoped_lock lock(inputs.mutex);
    inputs.stopped = true;
    inputs.changed.notify_all();
}

} // namespace

capture_inputs_t::~capture_inputs_t()
{
    stop(*this);
    for (std::thread &thread : threads)
        thread.join();
    std::ranges::for_each(inputs, capture_inputs_end);
}

void capture_inputs_open(capture_inputs_t &inputs, const std::vector<std::string> &paths,
                         size_t jobs)
{
    for (const std::string &path : paths)
        inputs.inputs.push_back({path});
    inputs.jobs = std::clamp<size_t>(paths.size(), 1, jobs);
    for (size_t i = 0; i < inputs.jobs && inputs.jobs > 1; ++i)
        inputs.threads.emplace_back(read_inputs, std::ref(inputs));
}

capture_input_t &capture_inputs_begin(capture_inputs_t &inputs, size_t number)
{
    capture_input_t &input = inputs.inputs[number];
    std::unique_lock lock(inputs.mutex);
    inputs.turn = number;
    inputs.changed.notify_all();
    if (!is_read_ahead(inputs, input)) {
        lock.unlock();
        look_at(input);
        return input;
    }
    inputs.changed.wait(lock, [&input] { return input.known; });
    if (input.thrown != nullptr)
        std::rethrow_exception(input.thrown);
    return input;
}

void capture_inputs_end(capture_input_t &input)
{
    if (input.source.fd > STDIN_FILENO)
        close(std::exchange(input.source.fd, -1));
}

void capture_inputs_take(capture_inputs_t &inputs, capture_input_t &input, const flow_sink_t &sink)
{
    if (!is_read_ahead(inputs, input)) {
        input.fault = capture_read(inputs.setup, input.source, input.file, sink, input.counts);
        return;
    }
    for (bool done = false; !done;) {
        std::deque<flow_record_t> flows;
        {
            std::unique_lock lock(inputs.mutex);
            inputs.changed.wait(lock, [&input] { return input.done || !input.flows.empty(); });
            std::swap(flows, input.flows);
            done = input.done;
            inputs.ahead -= flows.size();
            inputs.changed.notify_all();
        }
        std::ranges::for_each(flows, sink);
        if (done && input.thrown != nullptr)
            std::rethrow_exception(input.thrown);
    }
}
