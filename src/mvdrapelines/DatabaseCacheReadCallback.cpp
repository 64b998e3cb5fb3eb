namespace mvgeo
{
} // namespace mvgeo
