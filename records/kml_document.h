// Fixed pieces of the KML document that writeKML produces.
#pragma once

#include <span>
#include <string_view>

namespace brinora {

// XML declaration, kml element, document name, balloon styles and the
// opening of the "CO2Results" folder; the whole first content of the file.
std::string_view kmlDocumentHeader();
// Closes the folder, the document and the kml element.
std::string_view kmlDocumentFooter();
// The 18 pieces of one placemark, with their #PLACEHOLDER# marks, in order.
std::span<const std::string_view> kmlPlacemarkPieces();

}  // namespace brinora
