// Every error text the library reports, in one place. Tests compare whole
// strings, so the punctuation here is part of the interface: some texts end
// with a period and some do not.
#pragma once

namespace err {

// The native-method frame.
constexpr const char* kInvalidThis = "invalid 'this' pointer";
constexpr const char* kTooFew = "too few arguments";
constexpr const char* kTooMany = "too many arguments";
// Storage a method needs cannot be had (the runtime's text for the same).
constexpr const char* kOutOfMemory = "out of memory";

// Library load (shown in a message box captioned "Error").
constexpr const char* kWindowClassFailed = "Error registering class Tul2Window";

// Lookups of the library's own classes and static members (printf formats).
constexpr const char* kClassNotFound = "Class %s not found.";
constexpr const char* kMemberNotFound = "Member %s::%s not found.";
constexpr const char* kPointClassNotFound = "POINT class not found.";
constexpr const char* kSizeClassNotFound = "SIZE class not found.";

// Containers.
constexpr const char* kSubscriptOutOfRange = "subscript out of range";
constexpr const char* kPopFromEmpty = "Can't pop value from empty vector.";
constexpr const char* kNotADictionaryClass = "Argument is not of class type Dictionary.";
constexpr const char* kArgumentDamaged = "Structure of argument damaged.";
constexpr const char* kIteratorCreationFailed = "Creation of dictionary iterator failed";
constexpr const char* kInvalidIterator = "Invalid iterator.";
constexpr const char* kNotAnIterator = "Comparison is not a dictionary iterator.";
constexpr const char* kNotAnIteratorDetail = "DictIterator::equals";

// Struct (the member's name or class follows as the detail).
constexpr const char* kStructMemberDefined = "Struct member already defined: ";
constexpr const char* kStructMemberNotFound = "Struct member not found: ";
constexpr const char* kNotAStruct = "Object is not of type Struct: ";

// Arguments and data members of the value classes.
constexpr const char* kInvalidMemberData = "invalid member data";
constexpr const char* kInvalidArgument = "Invalid argument";
constexpr const char* kInvalidArgumentDot = "Invalid argument.";
constexpr const char* kInvalidPt = "Invalid data (_pt)";
constexpr const char* kInvalidRect = "Invalid data (_rect)";
constexpr const char* kInvalidMsg = "Invalid data (_msg)";
constexpr const char* kInvalidAccel = "Invalid data (_accel)";
constexpr const char* kPointExpected = "POINT argument expected";
constexpr const char* kMsgExpected = "MSG argument expected";
constexpr const char* kAccelExpected = "ACCEL argument expected";

// The window framework.
constexpr const char* kWindowCreationFailed = "Window creation failed.";
constexpr const char* kWindowExpected = "Invalid argument. Window expected.";
constexpr const char* kObjectExpected = "Invalid argument. Object expected.";
constexpr const char* kInvalidWindowHandle = "Invalid window handle.";
constexpr const char* kMsgArgumentExpected = "Invalid argument. MSG expected";
constexpr const char* kInvalidMsgData = "Invalid data (msg)";
constexpr const char* kHandlerExpected = "Invalid argument. Message handler expected";
constexpr const char* kHandlerListMissing = "Invalid Object. Message handler list missing.";
constexpr const char* kWindowReferenceExpected = "Window reference expected";
constexpr const char* kInvalidMessageObject = "Invalid message object.";
constexpr const char* kClassNotInitialized = "Class not initialized.";
constexpr const char* kAcceleratorArrayMissing = "Invalid Object. Accelerator array missing.";

// File dialogs.
constexpr const char* kWindowHandleExpected = "Invalid argument. Window handle expected.";
constexpr const char* kFileNameTooLong =
    "File name too long for the file dialog (1023 characters at most)";

}  // namespace err
