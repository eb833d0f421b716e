// Fixed pieces of the KML document that writeKML produces.
#pragma once

#include <string_view>

namespace brinora {

// XML declaration, kml element, document name, balloon styles and the
// opening of the "CO2Results" folder; the whole first content of the file.
std::string_view kmlDocumentHeader();
// Closes the folder, the document and the kml element.
std::string_view kmlDocumentFooter();

}  // namespace brinora
