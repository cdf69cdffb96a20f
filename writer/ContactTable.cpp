#include "writer/FamilyWriter.h"

#include "writer/ContactProperties.h"
#include "writer/FamilyRows.h"

namespace pastille::writer {
namespace {

namespace pid = format::pid;
namespace lid = format::lid;
using enum FamilyValue;

constexpr FamilyRow kContactRows[] = {
    // Where an OST keeps the text of a body as a string.
    {pid::kUserEntryId, Text, &property::Body, true},
    {pid::kGender, Number16, &property::Gender},
    {pid::kDisplayName, Text, &property::DisplayName},
    {pid::kAccount, Text, &property::Account},
    {pid::kCallbackTelephoneNumber, Text, &property::CallbackTelephoneNumber},
    {pid::kGeneration, Text, &property::Generation},
    {pid::kGivenName, Text, &property::GivenName},
    {pid::kGovernmentIdNumber, Text, &property::GovernmentIdNumber},
    {pid::kBusinessTelephoneNumber, Text, &property::BusinessTelephoneNumber},
    {pid::kHomeTelephoneNumber, Text, &property::HomeTelephoneNumber},
    {pid::kInitials, Text, &property::Initials},
    {pid::kLanguage, Text, &property::Language},
    {pid::kLocation, Text, &property::OfficeLocation},
    {pid::kOrganizationalIdNumber, Text, &property::OrganizationalIdNumber},
    {pid::kSurname, Text, &property::Surname},
    {pid::kPostalAddress, Text, &property::PostalAddress},
    {pid::kCompanyName, Text, &property::CompanyName},
    {pid::kTitle, Text, &property::Title},
    {pid::kDepartmentName, Text, &property::DepartmentName},
    {pid::kOfficeLocation, Text, &property::OfficeLocation},
    {pid::kPrimaryTelephoneNumber, Text, &property::PrimaryTelephoneNumber},
    {pid::kBusiness2TelephoneNumber, Text, &property::Business2TelephoneNumber},
    {pid::kMobileTelephoneNumber, Text, &property::MobileTelephoneNumber},
    {pid::kRadioTelephoneNumber, Text, &property::RadioTelephoneNumber},
    {pid::kCarTelephoneNumber, Text, &property::CarTelephoneNumber},
    {pid::kOtherTelephoneNumber, Text, &property::OtherTelephoneNumber},
    {pid::kPagerTelephoneNumber, Text, &property::PagerTelephoneNumber},
    {pid::kPrimaryFaxNumber, Text, &property::PrimaryFaxNumber},
    {pid::kBusinessFaxNumber, Text, &property::BusinessFaxNumber},
    {pid::kHomeFaxNumber, Text, &property::HomeFaxNumber},
    {pid::kCountry, Text, &property::Country},
    {pid::kLocality, Text, &property::Locality},
    {pid::kStateOrProvince, Text, &property::StateOrProvince},
    {pid::kStreetAddress, Text, &property::StreetAddress},
    {pid::kPostalCode, Text, &property::PostalCode},
    {pid::kPostOfficeBox, Text, &property::PostOfficeBox},
    {pid::kTelexNumber, Text, &property::TelexNumber},
    {pid::kIsdnNumber, Text, &property::IsdnNumber},
    {pid::kAssistantTelephoneNumber, Text, &property::AssistantTelephoneNumber},
    {pid::kHome2TelephoneNumber, Text, &property::Home2TelephoneNumber},
    {pid::kAssistant, Text, &property::Assistant},
    {pid::kWeddingAnniversary, Date, &property::WeddingAnniversary},
    {pid::kBirthday, Date, &property::Birthday},
    {pid::kHobbies, Text, &property::Hobbies},
    {pid::kMiddleName, Text, &property::MiddleName},
    {pid::kDisplayNamePrefix, Text, &property::DisplayNamePrefix},
    {pid::kProfession, Text, &property::Profession},
    {pid::kReferredByName, Text, &property::ReferredByName},
    {pid::kSpouseName, Text, &property::SpouseName},
    {pid::kComputerNetworkName, Text, &property::ComputerNetworkName},
    {pid::kCustomerId, Text, &property::CustomerId},
    {pid::kTtyTddPhoneNumber, Text, &property::TtyTddPhoneNumber},
    {pid::kFtpSite, Text, &property::FtpSite},
    {pid::kManagerName, Text, &property::ManagerName},
    {pid::kNickname, Text, &property::Nickname},
    {pid::kPersonalHomePage, Text, &property::PersonalHomePage},
    {pid::kBusinessHomePage, Text, &property::BusinessHomePage},
    {pid::kCompanyMainTelephoneNumber, Text, &property::CompanyMainTelephoneNumber},
    {pid::kChildrensNames, Text, &property::ChildrensNames},
    {pid::kHomeAddressCity, Text, &property::HomeAddressCity},
    {pid::kHomeAddressCountry, Text, &property::HomeAddressCountry},
    {pid::kHomeAddressPostalCode, Text, &property::HomeAddressPostalCode},
    {pid::kHomeAddressStateOrProvince, Text, &property::HomeAddressStateOrProvince},
    {pid::kHomeAddressStreet, Text, &property::HomeAddressStreet},
    {pid::kHomeAddressPostOfficeBox, Text, &property::HomeAddressPostOfficeBox},
    {pid::kOtherAddressCity, Text, &property::OtherAddressCity},
    {pid::kOtherAddressCountry, Text, &property::OtherAddressCountry},
    {pid::kOtherAddressPostalCode, Text, &property::OtherAddressPostalCode},
    {pid::kOtherAddressStateOrProvince, Text, &property::OtherAddressStateOrProvince},
    {pid::kOtherAddressStreet, Text, &property::OtherAddressStreet},
    {pid::kOtherAddressPostOfficeBox, Text, &property::OtherAddressPostOfficeBox},
    {pid::kFreeBusyMessageEmailAddress, Text, &property::Text6849},

    {lid::kHomeAddress, Text, &property::HomeAddress},
    {lid::kWorkAddress, Text, &property::WorkAddress},
    {lid::kOtherAddress, Text, &property::OtherAddress},
    {lid::kYomiFirstName, Text, &property::YomiFirstName},
    {lid::kYomiLastName, Text, &property::YomiLastName},
    {lid::kYomiCompanyName, Text, &property::YomiCompanyName},
    {lid::kContactUserField1, Text, &property::ContactUserField1},
    {lid::kContactUserField2, Text, &property::ContactUserField2},
    {lid::kContactUserField3, Text, &property::ContactUserField3},
    {lid::kContactUserField4, Text, &property::ContactUserField4},
    {lid::kInstantMessagingAddress, Text, &property::InstantMessagingAddress},
    {lid::kEmail1DisplayName, Text, &property::Email1DisplayName},
    {lid::kEmail1AddressType, Text, &property::Email1AddressType},
    {lid::kEmail1EmailAddress, Text, &property::Email1EmailAddress},
    {lid::kEmail2DisplayName, Text, &property::Email2DisplayName},
    {lid::kEmail2AddressType, Text, &property::Email2AddressType},
    {lid::kEmail2EmailAddress, Text, &property::Email2EmailAddress},
    {lid::kEmail3DisplayName, Text, &property::Email3DisplayName},
    {lid::kEmail3AddressType, Text, &property::Email3AddressType},
    {lid::kEmail3EmailAddress, Text, &property::Email3EmailAddress},
    {lid::kMileage, Text, &property::Mileage},
    {lid::kBilling, Text, &property::BillingInformation},
};

constexpr auto kWholeContactRows = SortedRows(kEveryItemRows, kImportanceRows, kRequestFlagRows,
                                              kRoutingFlagRows, kSenderRows, kContactRows);
static_assert(AreUnique(kWholeContactRows));

}  // namespace

constinit const FamilyTable kContactTable = kWholeContactRows;

}  // namespace pastille::writer
