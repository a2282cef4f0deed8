#ifndef HOST_PROFILE_POWERBUDGET_H
#define HOST_PROFILE_POWERBUDGET_H

// How much power a node may use, as the site's configuration says it.
namespace PowerBudget {

// Whether the environment says anything about it.
bool isSet();

// Watts of a node, above 0; NaN where nothing is said or what is said is no such number.
double watts();

} // namespace PowerBudget

#endif
