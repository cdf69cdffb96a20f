#pragma once

#include "writer/ItemProperties.h"

/// The properties that only contacts have. [MS-OXPROPS]
namespace pastille::writer::property {

inline constexpr ItemProperty Account = Text("Account", format::pid::kAccount);
inline constexpr ItemProperty WeddingAnniversary =
    Date("WeddingAnniversary", format::pid::kWeddingAnniversary);
inline constexpr ItemProperty Assistant = Text("Assistant", format::pid::kAssistant);
inline constexpr ItemProperty AssistantTelephoneNumber =
    Text("AssistantTelephoneNumber", format::pid::kAssistantTelephoneNumber);
inline constexpr ItemProperty Birthday = Date("Birthday", format::pid::kBirthday);
inline constexpr ItemProperty Business2TelephoneNumber =
    Text("Business2TelephoneNumber", format::pid::kBusiness2TelephoneNumber);
inline constexpr ItemProperty WorkAddress =
    NamedText("WorkAddress", format::propset::kAddress, format::lid::kWorkAddress);
inline constexpr ItemProperty Locality = Text("Locality", format::pid::kLocality);
inline constexpr ItemProperty Country = Text("Country", format::pid::kCountry);
inline constexpr ItemProperty PostalCode = Text("PostalCode", format::pid::kPostalCode);
inline constexpr ItemProperty PostOfficeBox = Text("PostOfficeBox", format::pid::kPostOfficeBox);
inline constexpr ItemProperty StateOrProvince = Text("StateOrProvince", format::pid::kStateOrProvince);
inline constexpr ItemProperty StreetAddress = Text("StreetAddress", format::pid::kStreetAddress);
inline constexpr ItemProperty BusinessFaxNumber = Text("BusinessFaxNumber", format::pid::kBusinessFaxNumber);
inline constexpr ItemProperty BusinessHomePage = Text("BusinessHomePage", format::pid::kBusinessHomePage);
inline constexpr ItemProperty BusinessTelephoneNumber =
    Text("BusinessTelephoneNumber", format::pid::kBusinessTelephoneNumber);
inline constexpr ItemProperty CallbackTelephoneNumber =
    Text("CallbackTelephoneNumber", format::pid::kCallbackTelephoneNumber);
inline constexpr ItemProperty CarTelephoneNumber =
    Text("CarTelephoneNumber", format::pid::kCarTelephoneNumber);
inline constexpr ItemProperty ChildrensNames{"ChildrensNames", PropertyKind::Text, PropertyStorage::Tag,
                                             format::pid::kChildrensNames,
                                             format::PropertyType::MultipleString};
inline constexpr ItemProperty CompanyMainTelephoneNumber =
    Text("CompanyMainTelephoneNumber", format::pid::kCompanyMainTelephoneNumber);
inline constexpr ItemProperty CompanyName = Text("CompanyName", format::pid::kCompanyName);
inline constexpr ItemProperty ComputerNetworkName =
    Text("ComputerNetworkName", format::pid::kComputerNetworkName);
inline constexpr ItemProperty CustomerId = Text("CustomerId", format::pid::kCustomerId);
inline constexpr ItemProperty DepartmentName = Text("DepartmentName", format::pid::kDepartmentName);
inline constexpr ItemProperty Email1EmailAddress =
    NamedText("Email1EmailAddress", format::propset::kAddress, format::lid::kEmail1EmailAddress);
inline constexpr ItemProperty Email1AddressType =
    NamedText("Email1AddressType", format::propset::kAddress, format::lid::kEmail1AddressType);
inline constexpr ItemProperty Email1DisplayName =
    NamedText("Email1DisplayName", format::propset::kAddress, format::lid::kEmail1DisplayName);
inline constexpr ItemProperty Email2EmailAddress =
    NamedText("Email2EmailAddress", format::propset::kAddress, format::lid::kEmail2EmailAddress);
inline constexpr ItemProperty Email2AddressType =
    NamedText("Email2AddressType", format::propset::kAddress, format::lid::kEmail2AddressType);
inline constexpr ItemProperty Email2DisplayName =
    NamedText("Email2DisplayName", format::propset::kAddress, format::lid::kEmail2DisplayName);
inline constexpr ItemProperty Email3EmailAddress =
    NamedText("Email3EmailAddress", format::propset::kAddress, format::lid::kEmail3EmailAddress);
inline constexpr ItemProperty Email3AddressType =
    NamedText("Email3AddressType", format::propset::kAddress, format::lid::kEmail3AddressType);
inline constexpr ItemProperty Email3DisplayName =
    NamedText("Email3DisplayName", format::propset::kAddress, format::lid::kEmail3DisplayName);
inline constexpr ItemProperty GivenName = Text("GivenName", format::pid::kGivenName);
inline constexpr ItemProperty FtpSite = Text("FtpSite", format::pid::kFtpSite);
inline constexpr ItemProperty DisplayName = Text("DisplayName", format::pid::kDisplayName);
/// 16 bits.
inline constexpr ItemProperty Gender{"Gender", PropertyKind::Number, PropertyStorage::Tag,
                                     format::pid::kGender, format::PropertyType::Integer16};
inline constexpr ItemProperty GovernmentIdNumber =
    Text("GovernmentIdNumber", format::pid::kGovernmentIdNumber);
inline constexpr ItemProperty Hobbies = Text("Hobbies", format::pid::kHobbies);
inline constexpr ItemProperty Home2TelephoneNumber =
    Text("Home2TelephoneNumber", format::pid::kHome2TelephoneNumber);
inline constexpr ItemProperty HomeAddress =
    NamedText("HomeAddress", format::propset::kAddress, format::lid::kHomeAddress);
inline constexpr ItemProperty HomeAddressCity = Text("HomeAddressCity", format::pid::kHomeAddressCity);
inline constexpr ItemProperty HomeAddressCountry =
    Text("HomeAddressCountry", format::pid::kHomeAddressCountry);
inline constexpr ItemProperty HomeAddressPostalCode =
    Text("HomeAddressPostalCode", format::pid::kHomeAddressPostalCode);
inline constexpr ItemProperty HomeAddressPostOfficeBox =
    Text("HomeAddressPostOfficeBox", format::pid::kHomeAddressPostOfficeBox);
inline constexpr ItemProperty HomeAddressStateOrProvince =
    Text("HomeAddressStateOrProvince", format::pid::kHomeAddressStateOrProvince);
inline constexpr ItemProperty HomeAddressStreet = Text("HomeAddressStreet", format::pid::kHomeAddressStreet);
inline constexpr ItemProperty HomeFaxNumber = Text("HomeFaxNumber", format::pid::kHomeFaxNumber);
inline constexpr ItemProperty HomeTelephoneNumber =
    Text("HomeTelephoneNumber", format::pid::kHomeTelephoneNumber);
inline constexpr ItemProperty InstantMessagingAddress =
    NamedText("InstantMessagingAddress", format::propset::kAddress, format::lid::kInstantMessagingAddress);
inline constexpr ItemProperty Initials = Text("Initials", format::pid::kInitials);
/// Named by its property id; what contacts use it for is not known.
inline constexpr ItemProperty Text6849 = Text("Text6849", format::pid::kFreeBusyMessageEmailAddress);
inline constexpr ItemProperty IsdnNumber = Text("IsdnNumber", format::pid::kIsdnNumber);
inline constexpr ItemProperty Title = Text("Title", format::pid::kTitle);
inline constexpr ItemProperty Language = Text("Language", format::pid::kLanguage);
inline constexpr ItemProperty Surname = Text("Surname", format::pid::kSurname);
inline constexpr ItemProperty PostalAddress = Text("PostalAddress", format::pid::kPostalAddress);
inline constexpr ItemProperty ManagerName = Text("ManagerName", format::pid::kManagerName);
inline constexpr ItemProperty MiddleName = Text("MiddleName", format::pid::kMiddleName);
inline constexpr ItemProperty MobileTelephoneNumber =
    Text("MobileTelephoneNumber", format::pid::kMobileTelephoneNumber);
inline constexpr ItemProperty Nickname = Text("Nickname", format::pid::kNickname);
inline constexpr ItemProperty OfficeLocation = Text("OfficeLocation", format::pid::kOfficeLocation);
inline constexpr ItemProperty OrganizationalIdNumber =
    Text("OrganizationalIdNumber", format::pid::kOrganizationalIdNumber);
inline constexpr ItemProperty OtherAddress =
    NamedText("OtherAddress", format::propset::kAddress, format::lid::kOtherAddress);
inline constexpr ItemProperty OtherAddressCity = Text("OtherAddressCity", format::pid::kOtherAddressCity);
inline constexpr ItemProperty OtherAddressCountry =
    Text("OtherAddressCountry", format::pid::kOtherAddressCountry);
inline constexpr ItemProperty OtherAddressPostalCode =
    Text("OtherAddressPostalCode", format::pid::kOtherAddressPostalCode);
inline constexpr ItemProperty OtherAddressPostOfficeBox =
    Text("OtherAddressPostOfficeBox", format::pid::kOtherAddressPostOfficeBox);
inline constexpr ItemProperty OtherAddressStateOrProvince =
    Text("OtherAddressStateOrProvince", format::pid::kOtherAddressStateOrProvince);
inline constexpr ItemProperty OtherAddressStreet =
    Text("OtherAddressStreet", format::pid::kOtherAddressStreet);
inline constexpr ItemProperty PrimaryFaxNumber = Text("PrimaryFaxNumber", format::pid::kPrimaryFaxNumber);
inline constexpr ItemProperty OtherTelephoneNumber =
    Text("OtherTelephoneNumber", format::pid::kOtherTelephoneNumber);
inline constexpr ItemProperty PagerTelephoneNumber =
    Text("PagerTelephoneNumber", format::pid::kPagerTelephoneNumber);
inline constexpr ItemProperty PersonalHomePage = Text("PersonalHomePage", format::pid::kPersonalHomePage);
inline constexpr ItemProperty PrimaryTelephoneNumber =
    Text("PrimaryTelephoneNumber", format::pid::kPrimaryTelephoneNumber);
inline constexpr ItemProperty Profession = Text("Profession", format::pid::kProfession);
inline constexpr ItemProperty RadioTelephoneNumber =
    Text("RadioTelephoneNumber", format::pid::kRadioTelephoneNumber);
inline constexpr ItemProperty ReferredByName = Text("ReferredByName", format::pid::kReferredByName);
inline constexpr ItemProperty SpouseName = Text("SpouseName", format::pid::kSpouseName);
inline constexpr ItemProperty Generation = Text("Generation", format::pid::kGeneration);
inline constexpr ItemProperty TelexNumber = Text("TelexNumber", format::pid::kTelexNumber);
inline constexpr ItemProperty DisplayNamePrefix = Text("DisplayNamePrefix", format::pid::kDisplayNamePrefix);
inline constexpr ItemProperty TtyTddPhoneNumber = Text("TtyTddPhoneNumber", format::pid::kTtyTddPhoneNumber);
inline constexpr ItemProperty ContactUserField1 =
    NamedText("ContactUserField1", format::propset::kAddress, format::lid::kContactUserField1);
inline constexpr ItemProperty ContactUserField2 =
    NamedText("ContactUserField2", format::propset::kAddress, format::lid::kContactUserField2);
inline constexpr ItemProperty ContactUserField3 =
    NamedText("ContactUserField3", format::propset::kAddress, format::lid::kContactUserField3);
inline constexpr ItemProperty ContactUserField4 =
    NamedText("ContactUserField4", format::propset::kAddress, format::lid::kContactUserField4);
inline constexpr ItemProperty YomiCompanyName =
    NamedText("YomiCompanyName", format::propset::kAddress, format::lid::kYomiCompanyName);
inline constexpr ItemProperty YomiFirstName =
    NamedText("YomiFirstName", format::propset::kAddress, format::lid::kYomiFirstName);
inline constexpr ItemProperty YomiLastName =
    NamedText("YomiLastName", format::propset::kAddress, format::lid::kYomiLastName);

}  // namespace pastille::writer::property
