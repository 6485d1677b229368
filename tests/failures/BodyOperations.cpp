#include "tests/failures/Refusal.h"
#include "tests/failures/Tables.h"

#include <foundation/httpclient_core.h>

#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

namespace foundation::httpclient_core::testing {
namespace {

const std::string longName = "X-A-Header-Name-That-Needs-Memory-And-More";
const std::string longText = "a text that is longer than a short string holds";

PartHeader header() {
    PartHeader made(longName, "text/plain; charset=" + longText);
    made.addCustomHeaderValue(longName, longText);
    return made;
}

DataPart dataPart() {
    return {header(), longText};
}

FilePart filePart() {
    return {header(), "/a/path/that/is/longer/than/a/short/string"};
}

MultipartBody body() {
    MultipartBody made;
    made.addPart(DataPart(PartHeader("first"), "1"));
    made.addPart(dataPart());
    made.addPart(filePart());
    return made;
}

NameValueCollection fields() {
    return {{"a", "1 2"}, {longName, longText}};
}

}  // namespace

Operations bodyOperations() {
    return {
        strong("FormUrlEncoded", fields, [](NameValueCollection& f) { return FormUrlEncoded(f); }),
        strong(
            "copy of a form", [] { return FormUrlEncoded(fields()); }, Copied()),
        strong(
            "FormUrlEncoded::contentType", [] { return FormUrlEncoded(fields()); },
            [](FormUrlEncoded& form) { return form.contentType(); }),
        strong(
            "FormUrlEncoded::stream", [] { return FormUrlEncoded(fields()); },
            [](FormUrlEncoded& form) { return form.stream(); }),
        strong(
            "PartHeader", [] { return longText; },
            [](std::string& text) { return PartHeader(text, text); }),
        strong("copy of a PartHeader", header, Copied()),
        basic(
            "copy assignment of a PartHeader", [] { return std::pair(PartHeader("a"), header()); },
            [](auto& pair) { pair.first = pair.second; }),
        strong("PartHeader::getPartName", header, [](PartHeader& h) { return h.getPartName(); }),
        strong("PartHeader::getContentType", header,
               [](PartHeader& h) { return h.getContentType(); }),
        strong("PartHeader::getCustomHeaders", header,
               [](PartHeader& h) { return h.getCustomHeaders(); }),
        strong("PartHeader::setPartName", header, [](PartHeader& h) { h.withPartName(longText); }),
        strong("PartHeader::setContentType", header,
               [](PartHeader& h) { h.withContentType(longText); }),
        strong("PartHeader::setCustomHeaders", header,
               [](PartHeader& h) { h.setCustomHeaders({{longName, longText}}); }),
        strong("PartHeader::addCustomHeaderValue", header,
               [](PartHeader& h) { h.withCustomHeaderValue(longName, longText); }),
        strong("DataPart", header, [](PartHeader& h) { return DataPart(h, longText); }),
        strong("copy of a DataPart", dataPart, Copied()),
        basic(
            "copy assignment of a DataPart", [] { return std::pair(DataPart("1"), dataPart()); },
            [](auto& pair) { pair.first = pair.second; }),
        strong("DataPart::getHeader", dataPart, [](DataPart& part) { return part.getHeader(); }),
        strong("DataPart::getData", dataPart, [](DataPart& part) { return part.getData(); }),
        strong("DataPart::setHeader", dataPart, [](DataPart& part) { part.withHeader(header()); }),
        strong("DataPart::setData", dataPart,
               [](DataPart& part) { part.withData(longText + "!"); }),
        strong("DataPart::setPartName", dataPart,
               [](DataPart& part) { part.withPartName(longText); }),
        strong("DataPart::setContentType", dataPart,
               [](DataPart& part) { part.withContentType(longText); }),
        strong("DataPart::setCustomHeaders", dataPart,
               [](DataPart& part) { part.setCustomHeaders({{longText, longText}}); }),
        strong("DataPart::addCustomHeaderValue", dataPart,
               [](DataPart& part) { part.withCustomHeaderValue(longName, longText); }),
        strong("FilePart", header,
               [](PartHeader& h) { return FilePart(h, std::filesystem::path(longText)); }),
        strong("copy of a FilePart", filePart, Copied()),
        basic(
            "copy assignment of a FilePart", [] { return std::pair(FilePart("1"), filePart()); },
            [](auto& pair) { pair.first = pair.second; }),
        strong("FilePart::getHeader", filePart, [](FilePart& part) { return part.getHeader(); }),
        strong("FilePart::getFilePath", filePart,
               [](FilePart& part) { return part.getFilePath(); }),
        strong("FilePart::setHeader", filePart, [](FilePart& part) { part.withHeader(header()); }),
        strong("FilePart::setFilePath", filePart,
               [](FilePart& part) { part.setFilePath("/" + longText); }),
        strong("FilePart::setPartName", filePart,
               [](FilePart& part) { part.withPartName(longText); }),
        strong("FilePart::setContentType", filePart,
               [](FilePart& part) { part.withContentType(longText); }),
        strong("FilePart::setCustomHeaders", filePart,
               [](FilePart& part) { part.setCustomHeaders({{longText, longText}}); }),
        strong("FilePart::addCustomHeaderValue", filePart,
               [](FilePart& part) { part.withCustomHeaderValue(longName, longText); }),
        strong("copy of a MultipartBody", body, Copied()),
        basic(
            "copy assignment of a MultipartBody", [] { return std::pair(MultipartBody(), body()); },
            [](auto& pair) { pair.first = pair.second; }),
        strong("MultipartBody::getContent", body,
               [](MultipartBody& b) { return b.getContent().size(); }),
        strong("MultipartBody::hasDataPart", body,
               [](MultipartBody& b) { return b.hasDataPart(longName) && b.hasFilePart(longName); }),
        strong("MultipartBody::getDataPart", body,
               [](MultipartBody& b) { return b.getDataPart(longName); }),
        strong("MultipartBody::getDataPart that is absent", body,
               [](MultipartBody& b) {
                   return refusal<std::out_of_range>([&b] { b.getDataPart(longText); });
               }),
        strong("MultipartBody::getFilePart", body,
               [](MultipartBody& b) { return b.getFilePart(longName); }),
        strong("MultipartBody::getFilePart that is absent", body,
               [](MultipartBody& b) {
                   return refusal<std::out_of_range>([&b] { b.getFilePart(longText); });
               }),
        strong("MultipartBody::addPart of data", body,
               [](MultipartBody& b) { b.withPart(dataPart()); }),
        strong("MultipartBody::addPart of a file", body,
               [](MultipartBody& b) { b.withPart(filePart()); }),
        strong("MultipartBody::removePart", body, [](MultipartBody& b) { b.removePart(longName); }),
        strong(
            "ProxyCredentials", [] { return longText; },
            [](std::string& text) { return ProxyCredentials(text, text); }),
        strong(
            "copy of ProxyCredentials", [] { return ProxyCredentials(longText, longName); },
            Copied()),
        basic(
            "copy assignment of ProxyCredentials",
            [] {
                return std::pair(ProxyCredentials("a", "b"), ProxyCredentials(longText, longName));
            },
            [](auto& pair) { pair.first = pair.second; }),
        strong(
            "ProxyCredentials::username", [] { return ProxyCredentials(longText, longName); },
            [](ProxyCredentials& c) { return c.username() + c.password(); }),
    };
}

}  // namespace foundation::httpclient_core::testing
