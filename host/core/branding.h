#ifndef HOST_CORE_BRANDING_H
#define HOST_CORE_BRANDING_H

// The maker's names and addresses. Addresses lie under a reserved name that never resolves: whatever is shown
// from there has a copy embedded in the report.
namespace Branding {

constexpr char SupportTeamName[] = "Brivane support";

// Reports without a logo of their own show "<ourLogoPrefix>-180.png", with this link.
constexpr char ourLogoPrefix[] = "https://brivane.example/downloads/quillon-report-logo";
constexpr char ourLogoLink[] = "https://brivane.example/products/brivane-quillon-reports";

// The credit beside a logo that isn't ours.
constexpr char creditImage[] = "https://brivane.example/downloads/powered-by-quillon-reports-180.png";
constexpr char creditLink[] = "https://brivane.example/products/brivane-quillon-reports";

// Scheme and host of the namespaces of our XML documents; names, not places.
constexpr char xmlNamespaceHost[] = "http://brivane.example";

} // namespace Branding

#endif
