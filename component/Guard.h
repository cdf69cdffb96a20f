#pragma once

#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "component/pst/messaging/StoreError.h"
#include "component/pst/ndb/FormatError.h"
#include "writer/ComError.h"

namespace pastille::component {

/// MAPI_E_COLLISION: there is a folder of that name. [MS-OXCDATA] 2.4
inline constexpr writer::HRESULT kCollision = static_cast<writer::HRESULT>(0x80040604u);

writer::HRESULT ResultOf(pst::Refusal reason);
/// The two results of a file that cannot be written.
writer::HRESULT ResultOf(const std::error_code& code);

/// Runs the work of one interface operation and gives whatever it raises the interface's identifier.
template <class Interface, class Work>
decltype(auto) Guarded(Work&& work)
{
    try {
        return std::forward<Work>(work)();
    } catch (const pst::CStoreError& error) {
        throw writer::_com_error(ResultOf(error.Reason()), Interface::kInterfaceId, error.what());
    } catch (const std::system_error& error) {
        throw writer::_com_error(ResultOf(error.code()), Interface::kInterfaceId, error.what());
    } catch (const pst::CFormatError& error) {
        throw writer::_com_error(writer::E_FAIL, Interface::kInterfaceId, error.what());
    } catch (const std::length_error& error) {
        // A limit of the file format: what was asked for is too large for it.
        throw writer::_com_error(ResultOf(pst::Refusal::TooLarge), Interface::kInterfaceId, error.what());
    } catch (const std::logic_error& error) {
        throw writer::_com_error(writer::E_FAIL, Interface::kInterfaceId, error.what());
    } catch (const std::bad_alloc&) {
        throw writer::_com_error(writer::E_OUTOFMEMORY, Interface::kInterfaceId);
    }
}

}  // namespace pastille::component
