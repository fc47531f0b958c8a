#pragma once

/**
 * Carries settings from the live ConfigParams to the components that keep their own copy of them. Start-up on the main
 * thread calls it, and the web thread after posted settings.
 */
class parameter_io {
  public:
    /**
     * Gives the area of interest its polygon: 4 points, 6 when more than 4 are in use, 8 when exactly 8 are. The user
     * draws shapes of these three kinds only; any other count is rounded down to one, more than 8 to 6.
     */
    static void store_points_into_AOI();

    /** Gives it the three exclusion zones, 4 points each, those that are switched off too. */
    static void store_points_into_exclusions();
};
