// SPDX-License-Identifier: Apache-2.0
//
// The desk for C++17, header-only over desk.h, which says what each call does, how long it blocks,
// how many exchanges it costs and what its outcomes mean.
//
//     pindesk::desk desk;
//     auto card = desk.wait_for_card(10s);
//     auto report = desk.change(card, pindesk::secret::cns_pin, old_value, new_value);
//     std::cout << report.text() << ' ' << report.advice() << '\n';
//
// A call given a card that was not found sends nothing and returns the report of the search, so
// that one look at the last report is enough. A card whose serial number has been read is held to
// by it, one without by its reader.
//
// Threads: as in desk.h. Memory: values are viewed, never copied here. Nothing throws but a shortage
// of memory (std::bad_alloc). Visitors are called on the caller's thread, are not empty, and must
// not throw: an exception would have to pass through C.

#ifndef PINDESK_DESK_HPP
#define PINDESK_DESK_HPP

#include "pindesk/deskvalues.hpp"

#include <memory>
#include <new>

// NOLINTBEGIN(readability-identifier-naming): named like what it is used with, the standard library
namespace pindesk {

class desk {
public:
    /// Each returns whether to go on.
    using reader_visitor = std::function<bool(const reader&)>;
    using event_visitor = std::function<bool(event, const reader&)>;
    using status_visitor = std::function<bool(const secret_status&)>;
    using finding_visitor = std::function<bool(const finding&)>;
    using writer = std::function<bool(std::string_view piece)>;

    desk() : m_desk(pindesk_open())
    {
        if (m_desk == nullptr) {
            throw std::bad_alloc();
        }
    }

    /// Ends the waiting of the calls that run: from any thread, and from a signal handler.
    void cancel() noexcept { pindesk_cancel(m_desk.get()); }

    /// Gives the desk an issuer's key for all later calls; key_view() takes it away.
    void set_key(key which, key_view value)
    {
        pindesk_set_key(m_desk.get(), static_cast<pindesk_key>(which), value.data());
    }
    /// The same from a file.
    report load_key(key which, const std::string& path, const options& how = {})
    {
        return run({}, how, [&](const pindesk_options*, pindesk_report* raw) {
            pindesk_load_key(m_desk.get(), static_cast<pindesk_key>(which), path.c_str(), raw);
        });
    }

    // ---- Looking: costs no try ----

    /// Visits the readers in the order of their slots.
    report readers(const reader_visitor& visit, const options& how = {})
    {
        return run({}, how, [&](const pindesk_options* c_options, pindesk_report* raw) {
            const auto each = [](const pindesk_reader* seen, void* context) noexcept {
                return call<reader_visitor>(context, reader(*seen));
            };
            pindesk_readers(m_desk.get(), c_options, each, context_of(visit), raw);
        });
    }
    /// Visits each coming and going of readers and cards, for as long as options.wait (0: for ever).
    report watch(const event_visitor& visit, const options& how = {})
    {
        return run({}, how, [&](const pindesk_options* c_options, pindesk_report* raw) {
            const auto each = [](pindesk_event what, const pindesk_reader* where,
                                 void* context) noexcept {
                return call<event_visitor>(context, static_cast<event>(what), reader(*where));
            };
            pindesk_watch(m_desk.get(), c_options, each, context_of(visit), raw);
        });
    }
    /// Finds a card; with wanted.serial its serial number is read.
    card find(const wanted& which = {}, const options& how = {})
    {
        pindesk_card found{};
        found.size = sizeof found;
        found.layout = -1;
        report searched =
            run(which, how, [&](const pindesk_options* c_options, pindesk_report* raw) {
                pindesk_find(m_desk.get(), c_options, &found, raw);
            });
        return {found, searched};
    }
    card wait_for_card(std::chrono::milliseconds time, const wanted& which = {}, options how = {})
    {
        how.wait = time;
        return find(which, how);
    }
    /// Reads the serial number, or also the layout, into a card; leaves it as it is on failure.
    report read_serial(card& which, const options& how = {})
    {
        return look(pindesk_serial, which, how);
    }
    report identify(card& which, const options& how = {})
    {
        return look(pindesk_identify, which, how);
    }
    /// Visits the four secrets in their order.
    report status(const card& which, const status_visitor& visit, const options& how = {})
    {
        return on(which, how, [&](const pindesk_options* c_options, pindesk_report* raw) {
            const auto each = [](const pindesk_secret_status* seen, void* context) noexcept {
                return call<status_visitor>(context,
                                            secret_status{static_cast<secret>(seen->secret),
                                                          static_cast<state>(seen->state),
                                                          details::told(seen->tries_left, -1),
                                                          details::told(seen->status_word, -1)});
            };
            pindesk_status(m_desk.get(), c_options, each, context_of(visit), raw);
        });
    }

    // ---- Operations on secrets ----

    /// Everything that an operation would refuse before it sends a secret: before a person is asked
    /// for one. The card is held to from then on.
    /// \param what  the secret to verify or change, the PIN to unblock; else ignored
    report check(card& which, operation intended, secret what, const options& how = {})
    {
        report checked = on(which, how, [&](const pindesk_options* c_options, pindesk_report* raw) {
            pindesk_check(m_desk.get(), static_cast<pindesk_operation>(intended),
                          static_cast<pindesk_secret>(what), c_options, raw);
        });
        which.hold_to(checked.serial().empty() ? which.serial() : checked.serial());
        return checked;
    }
    report verify(const card& which, secret what, bytes value, const options& how = {})
    {
        return on(which, how, [&](const pindesk_options* c_options, pindesk_report* raw) {
            pindesk_verify(m_desk.get(), static_cast<pindesk_secret>(what), value, c_options, raw);
        });
    }
    report change(const card& which, secret what, bytes old_value, bytes new_value,
                  const options& how = {})
    {
        return on(which, how, [&](const pindesk_options* c_options, pindesk_report* raw) {
            pindesk_change(m_desk.get(), static_cast<pindesk_secret>(what), old_value, new_value,
                           c_options, raw);
        });
    }
    report unblock(const card& which, secret pin, bytes puk, bytes new_pin, const options& how = {})
    {
        return on(which, how, [&](const pindesk_options* c_options, pindesk_report* raw) {
            pindesk_unblock(m_desk.get(), static_cast<pindesk_secret>(pin), puk, new_pin, c_options,
                            raw);
        });
    }
    report lock(const card& which, const options& how = {})
    {
        return on(which, how, [&](const pindesk_options* c_options, pindesk_report* raw) {
            pindesk_lock(m_desk.get(), c_options, raw);
        });
    }
    /// \param new_pin  empty: the PIN keeps the value that it had
    report reactivate(const card& which, bytes puk, bytes new_pin = {}, const options& how = {})
    {
        return on(which, how, [&](const pindesk_options* c_options, pindesk_report* raw) {
            pindesk_reactivate(m_desk.get(), puk, new_pin, c_options, raw);
        });
    }
    /// \param family  operation::unblock_starcos or unblock_m4_1111
    report unblock_family(const card& which, operation family, bytes puk, bytes new_pin,
                          const options& how = {})
    {
        return on(which, how, [&](const pindesk_options* c_options, pindesk_report* raw) {
            pindesk_unblock_family(m_desk.get(), static_cast<pindesk_operation>(family), puk,
                                   new_pin, c_options, raw);
        });
    }

    // ---- Diagnosis ----

    report doctor(const finding_visitor& visit, const options& how = {})
    {
        return run({}, how, [&](const pindesk_options* c_options, pindesk_report* raw) {
            const auto each = [](const pindesk_finding* found, void* context) noexcept {
                return call<finding_visitor>(context,
                                             finding{found->id, found->severity, found->reader,
                                                     found->what, found->cause, found->remedy});
            };
            pindesk_doctor(m_desk.get(), c_options, how.language.c_str(), each, context_of(visit),
                           raw);
        });
    }
    /// Writes what a help desk needs, as one JSON document.
    report bundle(const writer& write, const wanted& which = {}, const options& how = {})
    {
        return run(which, how, [&](const pindesk_options* c_options, pindesk_report* raw) {
            const auto piece = [](const char* text, std::size_t size, void* context) noexcept {
                return call<writer>(context, std::string_view(text, size));
            };
            pindesk_bundle(m_desk.get(), c_options, piece, context_of(write), raw);
        });
    }

private:
    struct closer {
        void operator()(pindesk_desk* closed) const { pindesk_close(closed); }
    };
    std::unique_ptr<pindesk_desk, closer> m_desk;

    template <class Visitor> static void* context_of(const Visitor& visit)
    {
        return const_cast<Visitor*>(&visit); // comes back as const
    }
    template <class Visitor, class... Seen> static int call(void* context, Seen&&... seen)
    {
        return (*static_cast<const Visitor*>(context))(std::forward<Seen>(seen)...) ? 0 : 1;
    }

    static std::int32_t span(std::chrono::milliseconds time)
    {
        const auto count = time.count();
        return count < 0 || count > INT32_MAX ? PINDESK_FOREVER : static_cast<std::int32_t>(count);
    }

    static std::uint32_t flags(const options& how)
    {
        const auto flag = [](bool set, int value) { return set ? unsigned(value) : 0U; };
        return flag(how.use_last_try, PINDESK_USE_LAST_TRY) |
               flag(how.any_characters, PINDESK_ANY_CHARACTERS) |
               flag(how.keep_verified, PINDESK_KEEP_VERIFIED) |
               flag(how.no_secure_messaging, PINDESK_NO_SECURE_MESSAGING) |
               flag(how.use_admin_key, PINDESK_USE_ADMIN_KEY) |
               flag(how.reset_first, PINDESK_RESET_FIRST);
    }

    /// Makes a call of desk.h with its options and its report.
    template <class Call> static report run(const wanted& which, const options& how, Call body)
    {
        pindesk_options c_options{};
        c_options.size = sizeof c_options;
        c_options.reader = which.reader.empty() ? nullptr : which.reader.c_str();
        c_options.serial = which.serial.empty() ? nullptr : which.serial.c_str();
        c_options.slot = which.slot;
        c_options.wait_ms = span(how.wait);
        c_options.timeout_ms = span(how.timeout);
        c_options.flags = flags(how);
        c_options.sm_key = how.sm_key.data();
        c_options.admin_key = how.admin_key.data();
        c_options.context = context_of(how);
        if (how.waiting) {
            c_options.waiting = [](const pindesk_report* so_far, void* context) noexcept {
                const auto& given = *static_cast<const options*>(context);
                given.waiting(report(*so_far, given.language));
            };
        }
        pindesk_report raw{};
        raw.size = sizeof raw;
        body(&c_options, &raw);
        return {raw, how.language};
    }

    /// The same on a card that a search has found.
    template <class Call> static report on(const card& which, const options& how, Call body)
    {
        if (!which) {
            return which.report;
        }
        return run({std::string(which.reader.name()), std::string(which.serial())}, how, body);
    }

    report look(decltype(pindesk_serial)* into, card& which, const options& how)
    {
        pindesk_card seen{};
        seen.size = sizeof seen;
        report looked = on(which, how, [&](const pindesk_options* c_options, pindesk_report* raw) {
            into(m_desk.get(), c_options, &seen, raw);
        });
        if (looked) {
            which = card(seen, looked);
        }
        return looked;
    }
};

// ---- Without a desk and without a card ----

/// The lengths that a person should keep to, in bytes.
struct length_limits {
    int min, max;
};
inline length_limits limits(secret what)
{
    std::int32_t min = 0;
    std::int32_t max = 0;
    pindesk_limits(static_cast<pindesk_secret>(what), &min, &max);
    return {min, max};
}

/// Checks a value by itself: length, characters and, of a new one, weakness.
inline report check_value(secret what, bool is_new, bytes value, bool any_characters = false,
                          std::string_view language = {})
{
    pindesk_report raw{};
    raw.size = sizeof raw;
    pindesk_check_value(static_cast<pindesk_secret>(what), is_new ? 1 : 0, value,
                        any_characters ? std::uint32_t{PINDESK_ANY_CHARACTERS} : 0U, &raw);
    return {raw, language};
}

} // namespace pindesk
// NOLINTEND(readability-identifier-naming)

#include "pindesk/deskwords.hpp"

#endif
